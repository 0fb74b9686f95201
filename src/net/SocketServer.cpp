// The server's half of the loop: listening and taking the next peer.
#include <algorithm>
#include <utility>
#include "net/HostLookup.h"
#include "net/ListeningSocket.h"
#include "net/SocketAddress.h"
#include "net/SocketLoop.h"

namespace {

// In a row with the short interval; the port of a connection just ended may be taken for a moment.
constexpr unsigned kQuickListenTries = 10;

}  // namespace

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::Listen(Loop& loop) {
    loop.listenAt = FromNow(m_reconnectInterval);
    m_listening.Close();
    WSAResetEvent(loop.listenEvent.Get());
    std::uint32_t address = m_address;
    if (!m_host.empty()) {
        const std::optional<std::uint32_t> error = FindListenAddress(address);
        if (!error) return Step::Stopped;
        if (*error != 0) {
            TellListening(loop, *error);
            return Step::Continue;
        }
    }
    ListenResult result = OpenListeningSocket(address, m_port, loop.listenEvent.Get());
    m_listening = std::move(result.socket);
    if (m_listening.IsOpen()) {
        loop.listenAt.reset();
        loop.listenTries = 0;
    } else if (++loop.listenTries >= kQuickListenTries) {
        loop.listenAt = FromNow(m_limits.listenAgain);
    }
    TellListening(loop, result.error);
    return Step::Continue;
}

// 0 or the error; nothing: stopped.
std::optional<std::uint32_t> _NetworkInterfaceSocket::FindListenAddress(std::uint32_t& address) {
    if (const auto literal = ParseAddress(m_host); literal && !literal->isV6) {
        address = literal->V4Word();
        return 0;
    }
    const std::optional<LookUpAnswer> found = m_lookUp.LookUp(m_host, StopEvent(), m_limits.lookUp);
    if (!found) return std::nullopt;
    const auto v4 = std::ranges::find(found->addresses, false, &HostAddress::isV6);
    if (v4 == found->addresses.end()) return found->error != 0 ? found->error : WSANO_DATA;
    address = v4->V4Word();
    return 0;
}

void _NetworkInterfaceSocket::TellListening(Loop& loop, std::uint32_t error) {
    if (std::exchange(loop.listenError, error) != error) OnError("Listen", error);
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::OnListenEvent(Loop& loop) {
    WSANETWORKEVENTS events = {};
    if (WSAEnumNetworkEvents(m_listening.Get(), loop.listenEvent.Get(), &events) != 0) {
        const bool wasOpen = m_listening.IsOpen();
        const auto error = static_cast<std::uint32_t>(WSAGetLastError());
        WSAResetEvent(loop.listenEvent.Get());
        if (wasOpen) ListenAnew(loop, error);
        return Step::Continue;
    }
    if ((events.lNetworkEvents & FD_ACCEPT) == 0) return Step::Continue;
    const auto error = static_cast<std::uint32_t>(events.iErrorCode[FD_ACCEPT_BIT]);
    if (error == 0) return AcceptPeer(loop);
    CloseDataSocket(loop);
    ListenAnew(loop, error);
    return Step::Continue;
}

void _NetworkInterfaceSocket::ListenAnew(Loop& loop, std::uint32_t error) {
    m_listening.Close();
    loop.listenAt = FromNow(m_reconnectInterval);
    TellListening(loop, error);
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::AcceptPeer(Loop& loop) {
    sockaddr_in from = {};
    int fromSize = sizeof from;
    CSocket peer(accept(m_listening.Get(), reinterpret_cast<sockaddr*>(&from), &fromSize));
    if (!peer.IsOpen()) {
        // It has gone again; or there is no room for it, and it is announced again and again.
        const bool hasGone = WSAGetLastError() == WSAEWOULDBLOCK || WSAGetLastError() == WSAECONNRESET;
        return hasGone ? Step::Continue : Pause(m_reconnectInterval);
    }
    CloseDataSocket(loop);
    SendAtOnce(peer.Get());
    // An accepted socket has inherited the selection of the listening one.
    if (WSAEventSelect(peer.Get(), loop.dataEvent.Get(), FD_READ | FD_CLOSE) != 0) {
        OnError("ReadData", static_cast<std::uint32_t>(WSAGetLastError()));
        return Step::Continue;
    }
    OnPeerAccepted(HostAddress::V4(from.sin_addr.s_addr), ntohs(from.sin_port));
    SetDataSocket(std::move(peer));
    SetState(ConnectionState::Connected);
    return Step::Continue;
}

// The listening socket stays, so that nobody who comes at this moment is turned away.
_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::PeerDropped(Loop& loop) {
    CloseDataSocket(loop);
    SetState(ConnectionState::Disconnected);
    return Step::Continue;
}
