#pragma once
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include "common/Time.h"
#include "support/BaseThread.h"

// Answer of OnConnectError: keep trying. Any other value ends the connection's thread.
inline constexpr std::uint32_t kKeepTrying = 6;
inline constexpr std::uint32_t kStopWaitMilliseconds = 5000;

// Where a server listens.
struct EndpointRecord {
    wchar_t host[260] = {};
    std::uint32_t address = 0;  // IPv4, network byte order; used when host is empty
    std::uint32_t port = 0;
    std::uint32_t option = 0;
    std::uint32_t reconnectInterval = 1000;  // ms
};

enum class ConnectionState : std::uint32_t { Initial = 0, Disconnected = 1, Connected = 2 };

// State and callbacks of one TCP connection. All callbacks run on the connection's own thread, but for OnDataSent, which
// runs on the sending thread. After Stop has returned no callback runs.
class _NetworkInterfaceIO : public CBKBaseThread {
  public:
    std::uint32_t Run(void* argument) override { return IoLoop(argument); }
    void OnThreadStart(void* argument) override;
    void OnThreadEnd(void* argument, std::uint32_t exitCode) override;

    virtual void OnConnected(std::uint32_t state) = 0;
    virtual void OnDisconnected(std::uint32_t state) = 0;
    // text: all that was to be sent, also when the send failed (result: the Windows Sockets code) or was short.
    virtual void OnDataSent(std::string_view text, std::uint32_t bytesSent, ddt_datetime time, std::uint32_t result,
                            std::uintptr_t userValue) = 0;
    virtual void OnError(const char* operation, std::uint32_t code) = 0;
    virtual std::uint32_t OnConnectError(const char* text, std::uint32_t code) = 0;
    // Hooks for derived classes; this layer never calls them.
    virtual void OnHook1() = 0;
    virtual void OnHook2() = 0;
    virtual void OnHook3() = 0;
    virtual void OnHook4() = 0;
    // data is writable and, with framing on, ends with a NUL that length counts.
    virtual void OnDataReceived(char* data, std::uint32_t length, ddt_datetime time, std::uint32_t result) = 0;
    virtual std::uint32_t IoLoop(void* argument) = 0;
    virtual void OnStart() = 0;
    virtual void OnStop() = 0;

    // Any thread.
    bool IsRunning() const { return m_running.load() != 0; }
    ConnectionState State() const { return m_state.load(); }
    ddt_datetime LastSendTime() const { return ddt_datetime{m_lastSendTime.load()}; }

  protected:
    // A change to the same state is ignored; others call OnConnected(1) or OnDisconnected(0).
    void SetState(ConnectionState state);

    std::atomic<std::uint32_t> m_running{0};
    std::uint32_t m_listenMode = 0;  // 0 client, 1 server
    std::wstring m_host;             // without port, at most 259 characters
    std::uint32_t m_address = 0;     // where a server listens: IPv4, network byte order
    std::uint32_t m_port = 0;
    std::uint32_t m_option = 0;
    std::uint32_t m_reconnectInterval = 1000;  // ms
    std::atomic<ConnectionState> m_state{ConnectionState::Initial};
    std::atomic<std::int64_t> m_lastSendTime{0};
};
