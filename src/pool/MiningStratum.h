#pragma once
#include <atomic>
#include <memory>
#include <string>
#include <vector>
#include "common/Clock.h"
#include "config/MinerConfiguration.h"
#include "net/NetworkInterfaceSocket.h"
#include "pool/StratumHost.h"
#include "pool/StratumOutput.h"
#include "pool/StratumSession.h"
#include "quorvel/plugin.h"
#include "support/LogSystem.h"

// Posted to the manager window: reconnect the session in wParam to its current pool.
inline constexpr unsigned kMessageReconnect = 0x3407;

// One pool connection: socket, protocol state and work block. Built on CStratumSession, which is the protocol itself without
// sockets and windows.
//
// GUI thread: everything but Send and SubmitShare. The plug-in's threads: SubmitShare. After CloseConnection has returned no
// callback runs, nothing is posted, and the state may be changed from the GUI thread.
class CMiningStratum final : public _NetworkInterfaceSocket, private IStratumOutput {
  public:
    CMiningStratum(StratumKind kind, IStratumHost& host, const IClock& clock, IResolver& resolver = SystemResolver());
    ~CMiningStratum() override;

    void SetWindows(HWND pluginWindow, HWND managerWindow);
    void SetPoolList(std::vector<PoolPointer> pools);  // replaces; index 0 becomes current
    void SetLog(CBKLogSystem* log);                    // may be null; outlives the connection

    void ResetSession() { m_session.Reset(); }
    // Unless the thread runs: resets and starts the client thread.
    void Connect();
    void CloseConnection();
    // A share of the plug-in's (see CStratumSession). 0, or a Windows Sockets code.
    std::uint32_t SubmitShare(std::string_view request) { return m_session.SubmitShare(request); }

    // Becomes the plug-in's work source and replays its whole state.
    void Activate();
    void Pause() { m_session.Pause(); }
    bool IsPaused() const { return m_session.IsPaused(); }

    bool IsReady() const { return m_session.IsReady(); }
    bool PrefixFlag() const { return m_session.PrefixFlag(); }
    std::wstring HashRateId() const { return m_session.HashRateId(); }  // empty once the pool refused hash-rate reports
    double Difficulty() const { return m_session.Difficulty(); }
    JobInfo CurrentJob() const { return m_session.CurrentJob(); }
    AnswerCounts Answers() const { return m_session.Answers(); }
    StratumKind Kind() const { return m_session.Kind(); }
    const StratumWorkBlock& WorkBlock() const { return m_session.WorkBlock(); }

    std::uint32_t CurrentPoolIndex() const { return m_session.PoolIndex(); }
    void SetCurrentPoolIndex(std::uint32_t index) { m_session.SetPoolIndex(index); }
    PoolPointer CurrentPool() const { return m_session.CurrentPool(); }  // null: the list is empty

    ConnectionStatus Status() const { return m_session.Status(); }

    // Time accounting of the manager; GUI thread.
    TimeSpan lastTick = 0;  // monotonic
    TimeSpan minedTime = 0;
    TimeSpan activeTime = 0;

  private:
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

    const IClock& m_clock;
    // Changed only while no connection runs.
    HWND m_pluginWindow = nullptr;
    HWND m_managerWindow = nullptr;
    CBKLogSystem* m_log = nullptr;
    std::atomic<bool> m_closing = false;  // by CloseConnection: what the thread still reports is no trouble of the pool's
    CStratumSession m_session;
};
