#pragma once
#include <gtest/gtest.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>
#include "net/NetworkInterfaceSocket.h"

// Waits for what no event tells.
template <typename Condition>
bool Eventually(Condition condition) {
    for (int i = 0; i < 1000 && !condition(); ++i)
        Sleep(5);
    return condition();
}

// Gives the answers in turn, then this machine's address.
class CScriptedResolver final : public IResolver {
  public:
    explicit CScriptedResolver(std::vector<std::uint32_t> errors = {}) : m_errors(std::move(errors)) {}
    ResolveResult Resolve(const std::wstring& host) override {
        EXPECT_EQ(host, L"pool.example");
        const std::size_t call = calls++;
        return call < m_errors.size() ? ResolveResult{m_errors[call], 0} : ResolveResult{0, htonl(INADDR_LOOPBACK)};
    }
    std::atomic<std::size_t> calls{0};

  private:
    const std::vector<std::uint32_t> m_errors;
};

// A connection that writes down its callbacks as texts:
//     "connected", "disconnected", "lost" (a connect error), "connect-error <text> <code>", "error <operation> <code>",
//     "line <text>"
class CRecordingConnection final : public _NetworkInterfaceSocket {
  public:
    using _NetworkInterfaceSocket::_NetworkInterfaceSocket;
    ~CRecordingConnection() override { Stop(); }

    void SetInterval(std::uint32_t milliseconds) { m_reconnectInterval = milliseconds; }

    // False: not that often within the time.
    bool WaitFor(const std::string& event, std::ptrdiff_t times = 1, int milliseconds = 10'000) {
        std::unique_lock lock(m_lock);
        return m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds),
                                  [&] { return std::count(m_events.begin(), m_events.end(), event) >= times; });
    }
    std::vector<std::string> Events() {
        const std::lock_guard lock(m_lock);
        return m_events;
    }
    bool Happened(const std::string& event) { return WaitFor(event, 1, 0); }
    void Forget() {
        const std::lock_guard lock(m_lock);
        m_events.clear();
    }

    void OnConnected(std::uint32_t) override { Record("connected"); }
    void OnDisconnected(std::uint32_t) override { Record("disconnected"); }
    void OnError(const char* operation, std::uint32_t code) override {
        Record(std::string("error ") + operation + " " + std::to_string(code));
    }
    std::uint32_t OnConnectError(const char* text, std::uint32_t code) override {
        const std::uint32_t given = answer;  // who hears of this may change it for the next
        lastErrorCode = code;
        // The code of a loss differs between systems.
        const bool isLoss = std::string_view(text) == "Connection lost";
        Record(isLoss ? "lost" : std::string("connect-error ") + text + " " + std::to_string(code));
        return given;
    }
    void OnDataReceived(char* data, std::uint32_t length, ddt_datetime, std::uint32_t) override {
        Record("line " + std::string(data, length));
    }
    void OnDataSent(std::string_view, std::uint32_t bytes, ddt_datetime, std::uint32_t result,
                    std::uintptr_t userValue) override {
        lastSentBytes = bytes;
        lastSentResult = result;
        lastUserValue = userValue;
    }

    std::atomic<std::uint32_t> answer{kKeepTrying};  // of OnConnectError
    std::atomic<std::uint32_t> lastErrorCode{0};
    std::atomic<std::uint32_t> lastSentBytes{0};
    std::atomic<std::uint32_t> lastSentResult{0};
    std::atomic<std::uintptr_t> lastUserValue{0};

  private:
    void Record(std::string event) {
        const std::lock_guard lock(m_lock);
        m_events.push_back(std::move(event));
        m_changed.notify_all();
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_events;
};
