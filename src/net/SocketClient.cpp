// The client's half of the loop: from a name to a connection, and back after it has ended.
#include <string>
#include <utility>
#include "common/CodePage.h"
#include "net/HostLookup.h"
#include "net/SocketAddress.h"
#include "net/SocketLoop.h"

namespace {

constexpr unsigned kSilentTriesAgain = 5;

}  // namespace

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::ConnectNext(Loop& loop) {
    if (loop.round.IsOver()) {
        if (const Step step = ResolveHost(loop); step != Step::Continue || loop.round.IsOver()) return step;
    }
    const HostAddress address = loop.round.Take();
    OnActivity(ConnectActivity::Connecting, EndpointText(address, m_port));
    if (const std::uint32_t error = Connect(loop, address); error != 0) return AddressFailed(loop, "Connect failed", error);
    m_drop.reset();  // what was wished before there was anything to end
    loop.connectEnd = FromNow(loop.round.Share(m_limits.attempt, m_limits.address));
    return Step::Continue;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::ResolveHost(Loop& loop) {
    if (const auto literal = ParseAddress(m_host)) {
        loop.round.Begin({*literal});
        return Step::Continue;
    }
    OnActivity(ConnectActivity::Resolving, WideToNarrow(m_host));
    std::optional<LookUpAnswer> found = m_lookUp.LookUp(m_host, StopEvent(), m_limits.lookUp);
    if (!found) return Step::Stopped;
    const bool triesAgain = found->error == WSATRY_AGAIN && !found->timedOut;
    loop.triesAgain = triesAgain ? loop.triesAgain + 1 : 0;
    if (!found->addresses.empty()) {
        if (found->error != 0) OnError("Resolve", found->error);
        loop.round.Begin(std::move(found->addresses));
        return Step::Continue;
    }
    if (triesAgain && loop.triesAgain <= kSilentTriesAgain) return Pause(m_reconnectInterval);
    const std::string text = found->timedOut ? std::string() : SystemMessage(found->error);
    return AttemptFailed(loop, text.empty() ? "Host not found" : text.c_str(), found->error);
}

// 0, or the error.
std::uint32_t _NetworkInterfaceSocket::Connect(Loop& loop, const HostAddress& address) {
    const SocketAddress peer = MakeSocketAddress(address, m_port);
    CSocket socket(WSASocketW(peer.Get()->sa_family, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED));
    if (!socket.IsOpen() || WSAEventSelect(socket.Get(), loop.dataEvent.Get(), FD_READ | FD_CONNECT | FD_CLOSE) != 0) {
        return static_cast<std::uint32_t>(WSAGetLastError());
    }
    SendAtOnce(socket.Get());
    if (WSAConnect(socket.Get(), peer.Get(), peer.size, nullptr, nullptr, nullptr, nullptr) != 0) {
        const int error = WSAGetLastError();
        if (error != WSAEWOULDBLOCK) return static_cast<std::uint32_t>(error);
    }
    SetDataSocket(std::move(socket));
    return 0;
}

void _NetworkInterfaceSocket::Connected(Loop& loop) {
    loop.connectEnd.reset();
    SetState(ConnectionState::Connected);
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::AddressFailed(Loop& loop, const char* text, std::uint32_t error) {
    CloseDataSocket(loop);
    return loop.round.IsOver() ? AttemptFailed(loop, text, error) : Step::Continue;
}

// The name is looked up again for the next attempt: the pool may have moved.
_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::AttemptFailed(Loop& loop, const char* text, std::uint32_t error) {
    loop.round.End();
    if (m_stopping) return Step::Stopped;
    if (OnConnectError(text, error) != kKeepTrying) return Step::Failed;
    return Pause(ReconnectPause(false));
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::ConnectionLost(Loop& loop, std::uint32_t error) {
    if (m_state != ConnectionState::Connected) return AddressFailed(loop, "Connect failed", error);
    return ConnectionEnded(loop, "Connection lost", error);
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::ConnectionEnded(Loop& loop, const char* text, std::uint32_t error) {
    if (m_stopping) return Step::Stopped;
    if (OnConnectError(text, error) != kKeepTrying) return Step::Failed;
    CloseDataSocket(loop);
    loop.round.Repeat();
    SetState(ConnectionState::Disconnected);
    return Pause(ReconnectPause(true));
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::Dropped(Loop& loop) {
    const Drop drop = *std::exchange(m_drop, std::nullopt);
    if (!m_data.IsOpen()) return Step::Continue;
    if (m_listenMode != 0) return PeerDropped(loop);
    if (m_state == ConnectionState::Connected) return ConnectionEnded(loop, drop.text.c_str(), drop.code);
    CloseDataSocket(loop);
    return AttemptFailed(loop, drop.text.c_str(), drop.code);
}
