#include <algorithm>
#include <utility>
#include "net/HostLookup.h"
#include "net/SocketAddress.h"
#include "net/SocketLoop.h"
#include "net/TcpLink.h"

namespace {

// In a row with the short interval; the port of a connection just ended may be taken for a moment.
constexpr unsigned kQuickListenTries = 10;

struct ListenResult {
    CSocket socket;           // open when error is 0
    std::uint32_t error = 0;  // Windows Sockets code
};

// A non-blocking listening socket that signals FD_ACCEPT on acceptEvent. address: IPv4 in network byte order, 0 for every
// address of this machine.
ListenResult OpenListeningSocket(std::uint32_t address, std::uint32_t port, WSAEVENT acceptEvent) {
    CSocket socket(WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED));
    sockaddr_in local = {};
    local.sin_family = AF_INET;
    local.sin_port = htons(static_cast<u_short>(port));
    local.sin_addr.s_addr = address;

    // No address-reuse option: with it another program could take the port over. Listening anew while the accepted
    // connection is still open does not need it.
    u_long nonBlocking = 1;
    const bool listening = socket.IsOpen() && ioctlsocket(socket.Get(), static_cast<long>(FIONBIO), &nonBlocking) == 0 &&
                           WSAEventSelect(socket.Get(), acceptEvent, FD_ACCEPT) == 0 &&
                           bind(socket.Get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0 &&
                           listen(socket.Get(), SOMAXCONN) == 0;
    if (listening) return {std::move(socket), 0};
    const int error = WSAGetLastError();
    if (error == WSAEWOULDBLOCK) return {std::move(socket), 0};
    return {CSocket(), static_cast<std::uint32_t>(error)};
}

}  // namespace

_NetworkInterfaceSocket::CServerLoop::Step _NetworkInterfaceSocket::CServerLoop::Prepare(bool&) {
    return IsPast(m_listenAt) ? Listen() : Step::Continue;
}

_NetworkInterfaceSocket::CServerLoop::Step _NetworkInterfaceSocket::CServerLoop::Listen() {
    m_listenAt = FromNow(m_io.m_reconnectInterval);
    m_listening.Close();
    WSAResetEvent(m_listenEvent.Get());
    std::uint32_t address = m_io.m_address;
    if (!m_io.m_host.empty()) {
        const std::optional<std::uint32_t> error = FindAddress(address);
        if (!error) return Step::Stopped;
        if (*error != 0) {
            TellListening(*error);
            return Step::Continue;
        }
    }
    ListenResult result = OpenListeningSocket(address, m_io.m_port, m_listenEvent.Get());
    m_listening = std::move(result.socket);
    if (m_listening.IsOpen()) {
        m_listenAt.reset();
        m_listenTries = 0;
    } else if (++m_listenTries >= kQuickListenTries) {
        m_listenAt = FromNow(m_io.m_limits.listenAgain);
    }
    TellListening(result.error);
    return Step::Continue;
}

// 0 or the error; nothing: stopped.
std::optional<std::uint32_t> _NetworkInterfaceSocket::CServerLoop::FindAddress(std::uint32_t& address) {
    if (const auto literal = ParseAddress(m_io.m_host); literal && !literal->isV6) {
        address = literal->V4Word();
        return 0;
    }
    const std::optional<LookUpAnswer> found = m_io.m_lookUp.LookUp(m_io.m_host, m_io.StopEvent(), m_io.m_limits.lookUp);
    if (!found) return std::nullopt;
    const auto v4 = std::ranges::find(found->addresses, false, &HostAddress::isV6);
    if (v4 == found->addresses.end()) return found->error != 0 ? found->error : WSANO_DATA;
    address = v4->V4Word();
    return 0;
}

void _NetworkInterfaceSocket::CServerLoop::TellListening(std::uint32_t error) {
    if (std::exchange(m_listenError, error) != error) m_io.OnError("Listen", error);
}

_NetworkInterfaceSocket::CServerLoop::Step _NetworkInterfaceSocket::CServerLoop::OnListenEvent() {
    WSANETWORKEVENTS events = {};
    if (WSAEnumNetworkEvents(m_listening.Get(), m_listenEvent.Get(), &events) != 0) {
        const bool wasOpen = m_listening.IsOpen();
        const auto error = static_cast<std::uint32_t>(WSAGetLastError());
        WSAResetEvent(m_listenEvent.Get());
        if (wasOpen) ListenAnew(error);
        return Step::Continue;
    }
    if ((events.lNetworkEvents & FD_ACCEPT) == 0) return Step::Continue;
    const auto error = static_cast<std::uint32_t>(events.iErrorCode[FD_ACCEPT_BIT]);
    if (error == 0) return AcceptPeer();
    CloseLink();
    ListenAnew(error);
    return Step::Continue;
}

void _NetworkInterfaceSocket::CServerLoop::ListenAnew(std::uint32_t error) {
    m_listening.Close();
    m_listenAt = FromNow(m_io.m_reconnectInterval);
    TellListening(error);
}

_NetworkInterfaceSocket::CServerLoop::Step _NetworkInterfaceSocket::CServerLoop::AcceptPeer() {
    sockaddr_in from = {};
    int fromSize = sizeof from;
    CSocket peer(accept(m_listening.Get(), reinterpret_cast<sockaddr*>(&from), &fromSize));
    if (!peer.IsOpen()) {
        // It has gone again; or there is no room for it, and it is announced again and again.
        const bool hasGone = WSAGetLastError() == WSAEWOULDBLOCK || WSAGetLastError() == WSAECONNRESET;
        return hasGone ? Step::Continue : Pause(m_io.m_reconnectInterval);
    }
    CloseLink();
    std::uint32_t error = 0;
    auto link = std::make_unique<CTcpLink>(m_dataEvent.Get(), std::move(peer), &error);
    if (error != 0) {
        m_io.OnError("ReadData", error);
        return Step::Continue;
    }
    m_io.OnPeerAccepted(HostAddress::V4(from.sin_addr.s_addr), ntohs(from.sin_port));
    SetLink(std::move(link));
    m_io.SetState(ConnectionState::Connected);
    return Step::Continue;
}

_NetworkInterfaceSocket::CServerLoop::Step _NetworkInterfaceSocket::CServerLoop::LineTooLong() {
    m_io.OnError("ReadData", WSAECONNABORTED);
    CloseLink();
    return Step::Continue;
}

// The listening socket stays, so that nobody who comes at this moment is turned away.
_NetworkInterfaceSocket::CServerLoop::Step _NetworkInterfaceSocket::CServerLoop::Dropped(const Drop&) {
    CloseLink();
    m_io.SetState(ConnectionState::Disconnected);
    return Step::Continue;
}

_NetworkInterfaceSocket::CServerLoop::Step _NetworkInterfaceSocket::CServerLoop::EventsMissing() {
    TellListening(WSA_NOT_ENOUGH_MEMORY);
    return Pause(m_io.m_reconnectInterval);
}

_NetworkInterfaceSocket::CServerLoop::Step _NetworkInterfaceSocket::CServerLoop::OutOfMemory(bool, std::uint32_t&) {
    TryWithoutMemory([this] { m_io.OnError("ReadData", WSA_NOT_ENOUGH_MEMORY); });
    return Step::Continue;
}
