#include "control/SocketMiner.h"
#include "common/Clock.h"
#include "common/CodePage.h"
#include "control/ControlSecurity.h"
#include "control/StatusReports.h"
#include "net/SocketAddress.h"

namespace {

// Of a command. A rig of 16 GPUs with 100 pools of the longest texts, all of them escaped, takes half a megabyte; this is
// several times that, and what a stranger can make the miner hold is still nothing to a machine that mines.
constexpr std::size_t kMaximumLine = std::size_t{4} * 1024 * 1024;

std::wstring PeerText(const HostAddress& address, std::uint32_t port) {
    return NarrowToWide(EndpointText(address, port));
}

}  // namespace

CSocketMiner::CSocketMiner(IControlHost& program, IResolver& resolver)
    : _NetworkInterfaceSocket(resolver), m_program(program) {
    SetFraming(true, '\n');
    SetLineLimit(kMaximumLine);
    m_limits.listenAgain = kListenAgainSeconds * 1000;
}

CSocketMiner::~CSocketMiner() {
    Close();
    StopThread(INFINITE);  // nothing of this object may go while its thread is still inside a callback
}

void CSocketMiner::Open(const EndpointRecord& endpoint, std::string token) {
    if (IsRunning()) return;
    StopThread(INFINITE);  // it may still be on its last steps
    const std::wstring warning =
        endpoint.host[0] == L'\0' ? ListenWarning(endpoint.address, endpoint.port, !token.empty()) : std::wstring();
    if (!warning.empty()) m_program.LogLine(warning);
    m_needsToken = !token.empty();
    m_commands.emplace(m_program, std::move(token));
    m_closing = false;
    m_dropping = false;
    m_listenError = 0;
    StartServer(endpoint);
}

void CSocketMiner::Close() {
    m_closing = true;
    Stop();
    m_listenError = 0;
}

bool CSocketMiner::IsConnected() const {
    return State() == ConnectionState::Connected && !m_dropping;
}

void CSocketMiner::SendSystemReport() {
    if (!HasReader()) return;
    SendReport(SystemReport(m_program.HostName(), m_program.IsMining(), m_program.Gpus()));
    for (const PoolError& trouble : m_program.Troubles())
        SendReport(ErrorReport(trouble));
}

void CSocketMiner::SendUpdateReport() {
    if (HasReader()) SendReport(UpdateReport(m_program.IsMining(), m_program.Gpus()));
}

void CSocketMiner::SendErrorReport(const PoolError& error) {
    if (HasReader()) SendReport(ErrorReport(error));
}

bool CSocketMiner::HasReader() {
    if (!IsConnected()) return false;
    const std::lock_guard lock(m_trustLock);
    return m_isTrusted;
}

void CSocketMiner::TrustPeer(bool isTrusted) {
    const std::lock_guard lock(m_trustLock);
    m_isTrusted = isTrusted;
}

void CSocketMiner::OnPeerAccepted(const HostAddress& address, std::uint32_t port) {
    TrustPeer(!m_needsToken);
    if (State() == ConnectionState::Connected && address != m_peer)
        LogPaced(m_replacedLines,
                 PeerText(address, port) + L" has taken the control channel over from " + PeerText(m_peer, m_peerPort));
    m_peer = address;
    m_peerPort = port;
}

void CSocketMiner::SendReport(const std::string& report) {
    std::uint32_t sent = 0;
    std::uint32_t result = 0;
    {
        const std::lock_guard lock(m_trustLock);
        if (!m_isTrusted) return;
        result = Send(report, reinterpret_cast<std::uintptr_t>(&sent));
    }
    if (result == WSAEWOULDBLOCK || (result == 0 && sent < report.size())) DropPeer();
}

void CSocketMiner::OnDataSent(std::string_view, std::uint32_t bytesSent, ddt_datetime, std::uint32_t,
                              std::uintptr_t userValue) {
    if (userValue != 0) *reinterpret_cast<std::uint32_t*>(userValue) = bytesSent;
}

// The connection can only be closed on its own thread, by the end of its loop; IoLoop then goes on listening. (A controller
// that came in just this moment is dropped too, and comes again.)
void CSocketMiner::DropPeer() {
    if (m_dropping.exchange(true)) return;
    m_program.LogLine(L"The controller does not read its reports; its connection is closed");
    SetEvent(StopEvent());
}

std::uint32_t CSocketMiner::IoLoop(void* argument) {
    for (;;) {
        const std::uint32_t exitCode = _NetworkInterfaceSocket::IoLoop(argument);
        // The event first: a drop that is asked for after the flag is down finds it whole again. Close raises its own flag
        // before the event, so that one of the two is seen whatever the order.
        ResetEvent(StopEvent());
        m_dropping = false;
        if (m_closing || exitCode != 0) return exitCode;
    }
}

void CSocketMiner::OnConnected(std::uint32_t) {
    m_program.ControlStateChanged(ControlState::Connected);
}

void CSocketMiner::OnDisconnected(std::uint32_t) {
    if (!m_closing) m_program.ControlStateChanged(ControlState::Listening);
}

void CSocketMiner::OnDataReceived(char* data, std::uint32_t length, ddt_datetime, std::uint32_t) {
    if (m_closing || m_dropping) return;
    std::string_view line(data, length - 1);  // the NUL behind it is counted
    line.remove_suffix(1);                    // the line feed
    if (const auto request = HttpRequestOf(line)) {
        DropBrowser(*request);
        return;
    }
    const CommandResult result = m_commands->Execute(line);
    if (m_needsToken && result != CommandResult::Ignored && result != CommandResult::Refused) TrustPeer(true);
    switch (result) {
        case CommandResult::SystemWanted:
            SendSystemReport();
            break;
        case CommandResult::Refused:
            LogPaced(m_refusalLines, L"A command of a controller without the right token was refused");
            break;
        case CommandResult::Unusable:
            LogPaced(m_unusableLines, L"The controller sent a configuration without a usable pool; the present one stays");
            break;
        case CommandResult::Ignored:
        case CommandResult::Done:
            break;
    }
}

void CSocketMiner::DropBrowser(const std::wstring& request) {
    TrustPeer(false);
    DropConnection({}, 0);
    LogPaced(m_browserLines, PeerText(m_peer, m_peerPort) + L" sent an HTTP request (" + request +
                                 L"), as a web page would; its connection is closed");
}

void CSocketMiner::LogPaced(CLineBudget& budget, std::wstring text) {
    const CLineBudget::Verdict verdict = budget.Take(SystemClock().Monotonic());
    if (!verdict.write) return;
    if (verdict.left != 0)
        text.append(L" (and ").append(std::to_wstring(verdict.left)).append(L" times before, not logged)");
    m_program.LogLine(text);
}

// The log is told when the trouble begins and when it ends; ListenError says how it stands.
void CSocketMiner::ListenChanged(std::uint32_t error) {
    const bool hadFailed = m_listenError.exchange(error) != 0;
    if (error != 0 && !hadFailed) {
        m_program.LogLine(L"The control channel cannot listen on " + ListenTrouble(m_address, m_port, error));
    } else if (error == 0 && hadFailed) {
        m_program.LogLine(L"The control channel listens now on " + PeerText(HostAddress::V4(m_address), m_port));
    }
    m_program.ControlStateChanged(error != 0 ? ControlState::Offline : ControlState::Listening);
}

void CSocketMiner::OnError(const char* operation, std::uint32_t code) {
    if (std::string_view(operation) == "Listen") {
        ListenChanged(code);
        return;
    }
    if (code == WSA_NOT_ENOUGH_MEMORY) {
        m_program.LogLine(L"The control channel has run out of memory; its connection is closed");
    }
    if (code == WSAECONNABORTED) m_program.LogLine(L"The controller sent a line without end; its connection is closed");
}

void CSocketMiner::OnStop() {
    if (m_closing) return;
    m_program.LogLine(L"The control channel has failed and listens no longer");
    m_program.ControlStateChanged(ControlState::Offline);
}
