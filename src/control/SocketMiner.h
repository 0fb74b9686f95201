#pragma once
#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include "config/PoolEntry.h"
#include "control/ControlCommands.h"
#include "control/ControlHost.h"
#include "net/NetworkInterfaceSocket.h"
#include "support/LineBudget.h"

// The control channel: listens for one controller, obeys its commands and sends it reports. Windows only.
//
// GUI thread: Open, Close, the destructor. Any thread: the rest. Commands are carried out on the I/O thread, and so the host
// is called there. After Close has returned nothing more is obeyed and the host is not called from that thread.
//
// A report is handed to the system in one send that never waits. A controller that takes its reports so slowly that one
// cannot be handed over whole is dropped, because the rest of that line could only be waited for.
//
// A page in a browser can send any port of its machine an HTTP request whose body is a line of its choice. So a peer that
// sends such a request is dropped at its first line, with all that came behind it.
//
// An endpoint that is not to be had is tried again every five seconds (at first every reconnect interval), until Close.
class CSocketMiner final : public _NetworkInterfaceSocket {
  public:
    explicit CSocketMiner(IControlHost& program, IResolver& resolver = SystemResolver());
    ~CSocketMiner() override;

    // Does nothing while the channel is open. endpoint names an address rather than a host, so that the log can say when
    // that address is open to others and there is no token (see CControlCommands).
    void Open(const EndpointRecord& endpoint, std::string token);
    // Waits for the I/O thread, at most 5000 ms.
    void Close();
    bool IsOpen() const { return IsRunning(); }
    // A controller is connected, or was the last that was heard of: one that leaves without a word still counts until the
    // next is accepted.
    bool IsConnected() const;
    // The Windows Sockets error that keeps the open channel from listening now; 0: none.
    std::uint32_t ListenError() const { return m_listenError; }

    // Each does nothing unless a controller is connected and, with a token set, has sent a command with it on this
    // connection.
    // Followed by an error report for each trouble that lasts.
    void SendSystemReport();
    void SendUpdateReport();
    void SendErrorReport(const PoolError& error);

  private:
    void OnConnected(std::uint32_t state) override;
    void OnDisconnected(std::uint32_t state) override;
    void OnDataReceived(char* data, std::uint32_t length, ddt_datetime time, std::uint32_t result) override;
    void OnDataSent(std::string_view text, std::uint32_t bytesSent, ddt_datetime time, std::uint32_t result,
                    std::uintptr_t userValue) override;
    void OnError(const char* operation, std::uint32_t code) override;
    void OnPeerAccepted(const HostAddress& address, std::uint32_t port) override;
    void OnStop() override;
    std::uint32_t IoLoop(void* argument) override;

    bool HasReader();
    void TrustPeer(bool isTrusted);
    void SendReport(const std::string& report);
    void DropPeer();
    void ListenChanged(std::uint32_t error);
    void DropBrowser(const std::wstring& request);
    // One line, and no flood of its kind: what was left out is counted behind the next.
    void LogPaced(CLineBudget& budget, std::wstring text);

    IControlHost& m_program;
    std::optional<CControlCommands> m_commands;  // made by Open; then the I/O thread's
    bool m_needsToken = false;                   // by Open
    // Held while a report is handed over, so that none that was meant for one peer reaches the next.
    std::mutex m_trustLock;
    bool m_isTrusted = false;             // whether the peer may have reports
    std::atomic<bool> m_closing{false};   // by Close
    std::atomic<bool> m_dropping{false};  // from the send that failed until the I/O thread has closed the socket

    std::atomic<std::uint32_t> m_listenError{0};

    // I/O thread. One line a minute each: nobody is to fill the disk by guessing tokens or by coming again and again.
    HostAddress m_peer;  // the latest
    std::uint32_t m_peerPort = 0;
    CLineBudget m_refusalLines{1, kTicksPerMinute};
    CLineBudget m_browserLines{1, kTicksPerMinute};
    CLineBudget m_replacedLines{1, kTicksPerMinute};
    CLineBudget m_unusableLines{1, kTicksPerMinute};
};
