#pragma once
#include <atomic>
#include <string>
#include "common/Clock.h"
#include "net/NetworkInterfaceSocket.h"
#include "pool/StratumHost.h"
#include "pool/StratumSession.h"
#include "support/LogSystem.h"

// Posted to the manager window: reconnect the session in wParam to its current pool.
inline constexpr unsigned kMessageReconnect = 0x3407;

// One pool connection: the socket under a CStratumSession, which is the protocol itself without sockets and windows, and the
// way to the plug-in's window.
//
// GUI thread: everything but Send, SendRequest and what the session allows to others. After CloseConnection has returned no
// callback runs, nothing is posted, and the state may be changed from the GUI thread.
class CMiningStratum final : public _NetworkInterfaceSocket, public IPoolConnection, private IStratumOutput {
  public:
    CMiningStratum(StratumKind kind, IStratumHost& host, const IClock& clock, IResolver& resolver = SystemResolver());
    ~CMiningStratum() override;

    void SetWindows(HWND pluginWindow, HWND managerWindow);
    void SetLog(CBKLogSystem* log);  // may be null; outlives the connection

    CStratumSession& Session() override { return m_session; }
    void Connect() override;
    void CloseConnection() override;
    bool IsRunning() const override { return _NetworkInterfaceSocket::IsRunning(); }
    std::uint32_t SendRequest(std::string_view text) override { return Send(text); }

  private:
    std::unique_ptr<IDataLink> MakeLink(WSAEVENT dataEvent) override;
    void OnSecured(const std::string& how) override;
    void OnConnected(std::uint32_t state) override;
    void OnDisconnected(std::uint32_t state) override;
    void OnDataSent(std::string_view text, std::uint32_t bytesSent, ddt_datetime time, std::uint32_t result,
                    std::uintptr_t userValue) override;
    std::uint32_t OnConnectError(const char* text, std::uint32_t code) override;
    void OnError(const char* operation, std::uint32_t code) override;
    void OnActivity(ConnectActivity activity, const std::string& target) override;
    std::uint32_t ReconnectPause(bool afterConnect) override;
    std::uint32_t StartPause() override { return ReconnectPause(true); }
    std::uint32_t OnTimer() override;
    void OnDataReceived(char* data, std::uint32_t length, ddt_datetime time, std::uint32_t result) override;

    std::uint32_t SendText(std::string_view text) override;
    void DropConnection(const std::string& text, std::uint32_t code) override;
    void PostWork(unsigned message) override;
    void PostPoolSwitch() override;
    void LogText(const std::string& text) override;

    // Changed only while no connection runs.
    HWND m_pluginWindow = nullptr;
    HWND m_managerWindow = nullptr;
    CBKLogSystem* m_log = nullptr;
    std::atomic<bool> m_closing = false;  // by CloseConnection: what the thread still reports is no trouble of the pool's
    CStratumSession m_session;
};
