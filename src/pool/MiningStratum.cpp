#include "pool/MiningStratum.h"
#include <utility>
#include "common/CodePage.h"
#include "net/SocksLink.h"
#include "net/TlsLink.h"

CMiningStratum::CMiningStratum(StratumKind kind, IStratumHost& host, const IClock& clock, IResolver& resolver)
    : _NetworkInterfaceSocket(resolver), m_session(kind, host, *this, clock, this) {
    SetFraming(true, '\n');
}

CMiningStratum::~CMiningStratum() {
    CloseConnection();
    StopThread(INFINITE);  // nothing of this object may go while its thread is still inside a callback
}

void CMiningStratum::SetWindows(HWND pluginWindow, HWND managerWindow) {
    m_pluginWindow = pluginWindow;
    m_managerWindow = managerWindow;
}

void CMiningStratum::SetLog(CBKLogSystem* log) {
    m_log = log;
}

void CMiningStratum::Connect() {
    if (IsRunning()) return;
    m_session.Reset();
    const PoolPointer pool = m_session.CurrentPool();
    if (!pool) return;
    m_closing = false;
    const PoolTarget& target = m_session.Target();
    const ProxyAddress& proxy = m_session.Proxy();
    // Of a proxy that cannot be used the host is empty, which is found nowhere: never past it. So it is of an address that
    // cannot: what was meant to be encrypted must not reach anybody, a proxy included.
    std::wstring host = proxy.IsWanted() ? NarrowToWide(Utf8ToNarrow(proxy.host, nullptr)) : target.host;
    if (!target.reason.empty()) host.clear();
    StartClient(host, proxy.IsWanted() ? proxy.port : target.port, 0);
}

void CMiningStratum::CloseConnection() {
    m_closing = true;
    Stop();
    // Also where there was no connection to end: shares may be held for one.
    m_session.Closed();
}

std::unique_ptr<IDataLink> CMiningStratum::MakeLink(WSAEVENT dataEvent) {
    const PoolTarget& target = m_session.Target();
    const ProxyAddress& proxy = m_session.Proxy();
    std::unique_ptr<IDataLink> link = proxy.IsWanted()
                                          ? std::make_unique<CSocksLink>(dataEvent, proxy, target.host, target.port)
                                          : _NetworkInterfaceSocket::MakeLink(dataEvent);
    if (!target.encryption.isEncrypted) return link;
    return std::make_unique<CTlsLink>(dataEvent, std::move(link), target.host, target.encryption);
}

void CMiningStratum::OnSecured(const std::string& how) {
    if (!m_closing) m_session.Secured(how);
}

void CMiningStratum::OnConnected(std::uint32_t) {
    if (!m_closing) m_session.Connected();
}

void CMiningStratum::OnDisconnected(std::uint32_t) {
    if (!m_closing) m_session.Disconnected();
}

std::uint32_t CMiningStratum::OnConnectError(const char* text, std::uint32_t code) {
    if (!m_closing) m_session.ConnectError(text, code);
    return kKeepTrying;
}

void CMiningStratum::OnError(const char* operation, std::uint32_t code) {
    if (m_log != nullptr) m_log->LogLine(L"%S failed (%u); going on", operation, code);
}

void CMiningStratum::OnActivity(ConnectActivity activity, const std::string& target) {
    if (m_closing) return;
    if (activity == ConnectActivity::Resolving) {
        m_session.Resolving(target);
    } else {
        m_session.Connecting(target);
    }
}

std::uint32_t CMiningStratum::ReconnectPause(bool) {
    return m_closing ? 0 : m_session.RetryDelay();
}

std::uint32_t CMiningStratum::OnTimer() {
    return m_closing ? INFINITE : m_session.Tick();
}

void CMiningStratum::OnDataSent(std::string_view text, std::uint32_t, ddt_datetime time, std::uint32_t result,
                                std::uintptr_t) {
    if (m_log != nullptr) m_log->LogTraffic(TrafficDirection::Sent, text, time, result);
}

void CMiningStratum::OnDataReceived(char* data, std::uint32_t length, ddt_datetime time, std::uint32_t result) {
    const std::string_view line(data, length - 1);  // the NUL behind it is counted
    if (m_log != nullptr) m_log->LogTraffic(TrafficDirection::Received, line, time, result);
    if (!m_closing) m_session.LineReceived(line);
}

std::uint32_t CMiningStratum::SendText(std::string_view text) {
    return Send(text);
}

void CMiningStratum::DropConnection(const std::string& text, std::uint32_t code) {
    _NetworkInterfaceSocket::DropConnection(text, code);
}

void CMiningStratum::PostWork(unsigned message) {
    // To no window, a message would go to the posting thread itself.
    if (m_pluginWindow == nullptr) return;
    PostMessageW(m_pluginWindow, message, reinterpret_cast<WPARAM>(&m_session.WorkBlock()), 0);
}

void CMiningStratum::PostPoolSwitch() {
    if (m_managerWindow != nullptr) PostMessageW(m_managerWindow, kMessageReconnect, reinterpret_cast<WPARAM>(this), 0);
}

void CMiningStratum::LogText(const std::string& text) {
    if (m_log != nullptr) m_log->LogLine(L"%s", NarrowToWide(text).c_str());
}
