#include "net/NetworkInterfaceSocket.h"
#include <string>
#include <utility>
#include "common/Clock.h"
#include "common/PoolAddress.h"
#include "net/TcpLink.h"

namespace {

constexpr std::uint32_t kPauseAfterFailedAttempt = 2000;  // ms

}  // namespace

_NetworkInterfaceSocket::_NetworkInterfaceSocket(IResolver& resolver) : m_lookUp(resolver) {}

_NetworkInterfaceSocket::~_NetworkInterfaceSocket() {
    m_stopping = true;
    StopThread(INFINITE);
}

void _NetworkInterfaceSocket::StartClient(std::wstring& hostText, std::uint32_t defaultPort, std::uint32_t option) {
    if (!PrepareStart()) return;
    m_listenMode = 0;
    m_port = CutPort(hostText, defaultPort);
    m_host = hostText.substr(0, kMaximumHostCharacters);
    m_option = option;
    Launch();
}

void _NetworkInterfaceSocket::StartServer(const EndpointRecord& endpoint) {
    if (!PrepareStart()) return;
    m_listenMode = 1;
    m_host.assign(endpoint.host, wcsnlen(endpoint.host, kMaximumHostCharacters));
    m_address = endpoint.address;
    m_port = endpoint.port;
    m_option = endpoint.option;
    m_reconnectInterval = endpoint.reconnectInterval;
    Launch();
}

bool _NetworkInterfaceSocket::PrepareStart() {
    if (IsRunning()) return false;
    StopThread(INFINITE);  // a thread that no longer counts as running may still be on its last steps
    return true;
}

void _NetworkInterfaceSocket::Launch() {
    m_stopping = false;
    m_running = 1;  // from here on, not from when the new thread gets to it: a second start right after must see it
    if (!StartThread(nullptr)) m_running = 0;
}

bool _NetworkInterfaceSocket::Stop() {
    m_stopping = true;
    return StopThread(kStopWaitMilliseconds);
}

std::uint32_t _NetworkInterfaceSocket::Send(std::string_view bytes, std::uintptr_t userValue) {
    LinkTransfer sent{WSAENOTCONN, 0};
    const std::lock_guard lock(m_dataLock);
    if (m_link != nullptr && m_state == ConnectionState::Connected) sent = m_link->Send(bytes);
    const ddt_datetime now = SystemClock().UtcNow();
    if (sent.error == 0) m_lastSendTime = now.ticks;
    OnDataSent(bytes, static_cast<std::uint32_t>(sent.bytes), now, sent.error, userValue);
    return sent.error;
}

std::uint32_t _NetworkInterfaceSocket::ReconnectPause(bool afterConnect) {
    return afterConnect ? 0 : kPauseAfterFailedAttempt;
}

void _NetworkInterfaceSocket::DropConnection(std::string text, std::uint32_t code) {
    m_drop = Drop{std::move(text), code};
}

void _NetworkInterfaceSocket::SetFraming(bool on, char delimiter) {
    m_framing = on;
    m_delimiter = delimiter;
}

std::unique_ptr<IDataLink> _NetworkInterfaceSocket::MakeLink(WSAEVENT dataEvent) {
    return std::make_unique<CTcpLink>(dataEvent);
}
