#pragma once
#include <gtest/gtest.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <string>
#include <vector>
#include "net/NetworkInterfaceSocket.h"
#include "net/SocketAddress.h"
#include "net/TlsLink.h"

// Waits for what no event tells.
template <typename Condition>
bool Eventually(Condition condition) {
    for (int i = 0; i < 1000 && !condition(); ++i)
        Sleep(5);
    return condition();
}

inline HostAddress Address(const wchar_t* text) {
    return ParseAddress(text).value();
}

// Gives the answers in turn, then this machine's address.
class CScriptedResolver final : public IResolver {
  public:
    explicit CScriptedResolver(std::vector<ResolveResult> answers = {}) : m_answers(std::move(answers)) {}
    ResolveResult Resolve(const std::wstring& host) override {
        EXPECT_EQ(host, L"pool.example");
        const std::size_t call = calls++;
        return call < m_answers.size() ? m_answers[call] : ResolveResult{0, {Address(L"127.0.0.1")}};
    }
    std::atomic<std::size_t> calls{0};

  private:
    const std::vector<ResolveResult> m_answers;
};

// A connection that writes down its callbacks as texts:
//     "connected", "disconnected", "lost" (a connect error), "connect-error <text> <code>", "error <operation> <code>",
//     "line <text>", "sent <text>" when asked for
// and what it does meanwhile: "look up <host>", "try <address>".
class CRecordingConnection final : public _NetworkInterfaceSocket {
  public:
    using _NetworkInterfaceSocket::_NetworkInterfaceSocket;
    ~CRecordingConnection() override { Stop(); }

    // To a peer behind one who decrypts.
    void Encrypt() { m_isEncrypted = true; }
    std::unique_ptr<IDataLink> MakeLink(WSAEVENT event) override {
        auto link = _NetworkInterfaceSocket::MakeLink(event);
        if (!m_isEncrypted) return link;
        return std::make_unique<CTlsLink>(event, std::move(link), L"localhost", PoolEncryption{true, {}, true});
    }
    void SetInterval(std::uint32_t milliseconds) { m_reconnectInterval = milliseconds; }
    SocketLimits& Limits() { return m_limits; }
    std::vector<std::string> Activities() {
        const std::lock_guard lock(m_lock);
        return m_activities;
    }

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
    void OnDisconnected(std::uint32_t) override { RecordOrStarve("disconnected"); }
    void OnActivity(ConnectActivity activity, const std::string& target) override {
        const std::lock_guard lock(m_lock);
        m_activities.push_back((activity == ConnectActivity::Resolving ? "look up " : "try ") + target);
    }
    std::uint32_t ReconnectPause(bool afterConnect) override {
        return pause < 0 ? _NetworkInterfaceSocket::ReconnectPause(afterConnect) : static_cast<std::uint32_t>(pause);
    }
    std::uint32_t OnTimer() override {
        if (++timerCalls == dropAtCall) DropConnection("Bored", 77);
        return timer;
    }
    void OnError(const char* operation, std::uint32_t code) override {
        Record(std::string("error ") + operation + " " + std::to_string(code));
    }
    std::uint32_t OnConnectError(const char* text, std::uint32_t code) override {
        const std::uint32_t given = answer;  // who hears of this may change it for the next
        lastErrorCode = code;
        // The code of a loss differs between systems.
        const bool isLoss = std::string_view(text) == "Connection lost";
        RecordOrStarve(isLoss ? "lost" : std::string("connect-error ") + text + " " + std::to_string(code));
        return given;
    }
    void OnDataReceived(char* data, std::uint32_t length, ddt_datetime, std::uint32_t) override {
        const std::string line(data, length);
        RecordOrStarve("line " + line);
        if (line.starts_with("drop")) DropConnection("Unwanted", 78);
    }
    void OnDataSent(std::string_view text, std::uint32_t bytes, ddt_datetime, std::uint32_t result,
                    std::uintptr_t userValue) override {
        lastSentBytes = bytes;
        lastSentResult = result;
        lastUserValue = userValue;
        lastSentLength = text.size();
        if (sentDelay == 0) return;
        Sleep(sentDelay);
        Record("sent " + std::string(text));
    }

    std::atomic<std::uint32_t> answer{kKeepTrying};  // of OnConnectError
    std::atomic<std::uint32_t> lastErrorCode{0};
    std::atomic<std::uint32_t> lastSentBytes{0};
    std::atomic<std::uint32_t> lastSentResult{0};
    std::atomic<std::uintptr_t> lastUserValue{0};
    std::atomic<std::size_t> lastSentLength{0};
    std::atomic<DWORD> sentDelay{0};             // ms; with it sends are recorded
    std::atomic<int> pause{-1};                  // ms; -1: the default
    std::atomic<std::uint32_t> timer{INFINITE};  // answer of OnTimer
    std::atomic<int> timerCalls{0};
    std::atomic<int> dropAtCall{0};  // of OnTimer
    std::atomic<int> starving{0};    // so many lines and ends of a connection are recorded, but there is no memory for more

  private:
    void RecordOrStarve(std::string event) {
        Record(std::move(event));
        if (starving > 0 && starving-- > 0) throw std::bad_alloc();
    }
    void Record(std::string event) {
        const std::lock_guard lock(m_lock);
        m_events.push_back(std::move(event));
        m_changed.notify_all();
    }

    bool m_isEncrypted = false;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_events;
    std::vector<std::string> m_activities;
};
