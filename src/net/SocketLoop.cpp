#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <utility>
#include "common/Clock.h"
#include "common/CodePage.h"
#include "net/HostLookup.h"
#include "net/ListeningSocket.h"
#include "net/NetworkInterfaceSocket.h"

namespace {

constexpr std::size_t kReceiveArea = 4096;
constexpr unsigned kListenTries = 10;
constexpr std::uint32_t kExitStopped = 0;
constexpr std::uint32_t kExitFailed = 0xFFFFFFFF;

bool IsUnreachable(std::uint32_t error) {
    return error == WSAENETUNREACH || error == WSAETIMEDOUT || error == WSAECONNREFUSED;
}

// Requests are short and waited for: none of them is held back to be joined with the next.
void SendAtOnce(SOCKET socket) {
    const BOOL on = TRUE;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
}

std::uint32_t ErrorOf(const WSANETWORKEVENTS& events, int bit) {
    return static_cast<std::uint32_t>(events.iErrorCode[bit]);
}

}  // namespace

struct _NetworkInterfaceSocket::Loop {
    Loop(char delimiter, std::size_t limit) : framer(delimiter, limit) {}

    std::array<char, kReceiveArea> area;
    CLineFramer framer;
    CNetworkEvent dataEvent;
    CNetworkEvent listenEvent;
    DWORD timeout = WSA_INFINITE;
    unsigned listenTries = 0;
};

std::uint32_t _NetworkInterfaceSocket::IoLoop(void*) {
    Loop loop(m_delimiter, m_lineLimit);
    const Step end = loop.dataEvent.IsValid() && loop.listenEvent.IsValid() ? RunLoop(loop) : Step::Failed;
    CloseDataSocket(loop);
    m_listening.Close();
    SetState(ConnectionState::Disconnected);
    return end == Step::Stopped ? kExitStopped : kExitFailed;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::RunLoop(Loop& loop) {
    if (m_listenMode != 0) {
        if (const Step step = Listen(loop); step != Step::Continue) return step;
    } else {
        // A first look-up, silent and without a pause after it.
        const std::optional<ResolveResult> found = LookUpHost(m_resolver, m_host, StopEvent());
        if (!found) return Step::Stopped;
        m_address = found->error == 0 ? found->address : 0;
    }
    for (;;) {
        if (const Step step = Pass(loop); step != Step::Continue) return step;
    }
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::Pass(Loop& loop) {
    if (m_listenMode == 0 && !m_data.IsOpen()) {
        const Step step = m_address != 0 ? Connect(loop) : ResolveHost(loop);
        if (step != Step::Continue) return step;
    }
    const Step step = WaitForEvent(loop);
    return step == Step::Continue && m_drop ? Dropped(loop) : step;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::ResolveHost(Loop& loop) {
    OnActivity(ConnectActivity::Resolving, WideToNarrow(m_host));
    const std::optional<ResolveResult> found = LookUpHost(m_resolver, m_host, StopEvent());
    if (!found) return Step::Stopped;
    loop.timeout = m_reconnectInterval;
    if (found->error == 0) {
        m_address = found->address;
    } else if (found->error != WSATRY_AGAIN) {
        const std::string text = SystemMessage(found->error);
        if (!text.empty() && OnConnectError(text.c_str(), found->error) != kKeepTrying) return Step::Failed;
    }
    return Step::Continue;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::Connect(Loop& loop) {
    CSocket socket(WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED));
    if (!socket.IsOpen()) return Step::Failed;
    SendAtOnce(socket.Get());
    if (WSAEventSelect(socket.Get(), loop.dataEvent.Get(), FD_READ | FD_CONNECT | FD_CLOSE) != 0) return Step::Failed;

    sockaddr_in peer = {};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(static_cast<u_short>(m_port));
    peer.sin_addr.s_addr = m_address;
    const int status =
        WSAConnect(socket.Get(), reinterpret_cast<const sockaddr*>(&peer), sizeof peer, nullptr, nullptr, nullptr, nullptr);
    if (status != 0 && WSAGetLastError() != WSAEWOULDBLOCK) return Step::Failed;
    SetDataSocket(std::move(socket));
    loop.timeout = WSA_INFINITE;
    return Step::Continue;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::WaitForEvent(Loop& loop) {
    const std::array<WSAEVENT, 3> events = {StopEvent(), loop.dataEvent.Get(), loop.listenEvent.Get()};
    const DWORD count = static_cast<DWORD>(events.size());
    const bool isTimed = m_listenMode == 0 && m_data.IsOpen();
    const DWORD timeout = isTimed ? std::min<DWORD>(OnTimer(), loop.timeout) : loop.timeout;
    if (m_drop) return Step::Continue;
    switch (WSAWaitForMultipleEvents(count, events.data(), FALSE, timeout, TRUE)) {
        case WSA_WAIT_EVENT_0:
            return Step::Stopped;
        case WSA_WAIT_EVENT_0 + 1:
            return OnDataEvent(loop);
        case WSA_WAIT_EVENT_0 + 2:
            return OnListenEvent(loop);
        case WSA_WAIT_TIMEOUT:
            return WaitTimedOut(loop);
        case WSA_WAIT_FAILED:  // paced, so that a failure that stays does not spin
            return Pause(m_reconnectInterval);
        default:  // an asynchronous call ran on this thread
            return Step::Continue;
    }
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::WaitTimedOut(Loop& loop) {
    loop.timeout = m_reconnectInterval;
    const bool listenAgain = m_listenMode != 0 && !m_listening.IsOpen() && loop.listenTries < kListenTries;
    return listenAgain ? Listen(loop) : Step::Continue;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::Pause(std::uint32_t milliseconds) {
    return WaitForSingleObject(StopEvent(), milliseconds) == WAIT_TIMEOUT ? Step::Continue : Step::Stopped;
}

void _NetworkInterfaceSocket::CloseDataSocket(Loop& loop) {
    SetDataSocket(CSocket());
    m_drop.reset();
    // Neither an event of the old socket nor the bytes of its unfinished line mean anything to the next.
    if (loop.dataEvent.IsValid()) WSAResetEvent(loop.dataEvent.Get());
    loop.framer.Clear();
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::OnDataEvent(Loop& loop) {
    WSANETWORKEVENTS events = {};
    if (WSAEnumNetworkEvents(m_data.Get(), loop.dataEvent.Get(), &events) != 0) {
        WSAResetEvent(loop.dataEvent.Get());
        return Step::Continue;
    }
    if ((events.lNetworkEvents & FD_CONNECT) != 0) {
        const Step step = OnConnectEvent(loop, ErrorOf(events, FD_CONNECT_BIT));
        if (step != Step::Continue || !m_data.IsOpen()) return step;
    }
    if ((events.lNetworkEvents & FD_READ) != 0 && ErrorOf(events, FD_READ_BIT) == 0) {
        if (Receive(loop, true) == Reception::TooLong) return LineTooLong(loop);
    }
    if ((events.lNetworkEvents & FD_CLOSE) != 0) return OnCloseEvent(loop, ErrorOf(events, FD_CLOSE_BIT));
    return Step::Continue;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::OnConnectEvent(Loop& loop, std::uint32_t error) {
    if (error == 0) {
        SetState(ConnectionState::Connected);
        loop.timeout = WSA_INFINITE;
        return Step::Continue;
    }
    if (!IsUnreachable(error)) return Step::Failed;
    if (OnConnectError("Connect failed", error) != kKeepTrying) return Step::Failed;
    CloseDataSocket(loop);
    return Pause(ReconnectPause(false));
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::OnCloseEvent(Loop& loop, std::uint32_t error) {
    // What arrived before the end comes first. Bounded by what the system holds of a connection that the peer has ended.
    for (Reception got = Reception::Data; got != Reception::Nothing && !m_stopping && !m_drop;) {
        got = Receive(loop, false);
        if (got == Reception::TooLong) return LineTooLong(loop);
    }
    if (m_drop) return Step::Continue;
    if (m_listenMode == 0) return ConnectionLost(loop, "Connection lost", error);

    // The state stays "connected", and the socket in place, until the next peer comes. A listening socket that works is
    // kept: to replace it would turn away a peer that reconnects in just that moment.
    if (m_listening.IsOpen()) return Step::Continue;
    loop.listenTries = 0;
    return Listen(loop);
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::ConnectionLost(Loop& loop, const char* text, std::uint32_t error) {
    if (!m_stopping && OnConnectError(text, error) != kKeepTrying) return Step::Failed;
    CloseDataSocket(loop);
    SetState(ConnectionState::Disconnected);
    return Pause(ReconnectPause(true));
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::Dropped(Loop& loop) {
    if (!m_data.IsOpen()) return Step::Continue;
    const Drop drop = *std::exchange(m_drop, std::nullopt);
    return ConnectionLost(loop, drop.text.c_str(), drop.code);
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::LineTooLong(Loop& loop) {
    if (m_listenMode == 0) return ConnectionLost(loop, "Connection lost", WSAECONNABORTED);
    OnError("ReadData", WSAECONNABORTED);
    CloseDataSocket(loop);
    return Step::Continue;
}

_NetworkInterfaceSocket::Reception _NetworkInterfaceSocket::Receive(Loop& loop, bool reportErrors) {
    WSABUF buffer = {static_cast<u_long>(loop.area.size()), loop.area.data()};
    DWORD received = 0;
    DWORD flags = 0;
    if (WSARecv(m_data.Get(), &buffer, 1, &received, &flags, nullptr, nullptr) != 0) {
        const int error = WSAGetLastError();
        const bool isFailure = error != WSA_IO_PENDING && error != WSAEWOULDBLOCK;
        if (isFailure && reportErrors) OnError("ReadData", static_cast<std::uint32_t>(error));
        return Reception::Nothing;
    }
    if (received == 0) return Reception::Nothing;
    return Deliver(loop, std::span(loop.area).first(received));
}

_NetworkInterfaceSocket::Reception _NetworkInterfaceSocket::Deliver(Loop& loop, std::span<char> bytes) {
    const ddt_datetime now = SystemClock().UtcNow();
    if (!m_framing) {
        OnDataReceived(bytes.data(), static_cast<std::uint32_t>(bytes.size()), now, 0);
        return Reception::Data;
    }
    loop.framer.Add(bytes);
    for (auto line = loop.framer.NextLine(); !line.empty(); line = loop.framer.NextLine()) {
        if (m_stopping || m_drop) return Reception::Nothing;
        OnDataReceived(line.data(), static_cast<std::uint32_t>(line.size()), now, 0);
    }
    return loop.framer.IsOverLimit() ? Reception::TooLong : Reception::Data;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::OnListenEvent(Loop& loop) {
    WSANETWORKEVENTS events = {};
    if (WSAEnumNetworkEvents(m_listening.Get(), loop.listenEvent.Get(), &events) != 0) {
        WSAResetEvent(loop.listenEvent.Get());
        return Step::Continue;
    }
    if ((events.lNetworkEvents & FD_ACCEPT) == 0) return Step::Continue;
    const std::uint32_t error = ErrorOf(events, FD_ACCEPT_BIT);
    if (error == 0) {
        AcceptPeer(loop);
        return Step::Continue;
    }
    if (!IsUnreachable(error)) return Step::Failed;
    CloseDataSocket(loop);
    loop.timeout = m_reconnectInterval;
    return Step::Continue;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::Listen(Loop& loop) {
    m_listening.Close();
    WSAResetEvent(loop.listenEvent.Get());
    std::uint32_t address = m_address;
    if (!m_host.empty()) {
        const std::optional<ResolveResult> found = LookUpHost(m_resolver, m_host, StopEvent());
        if (!found) return Step::Stopped;
        if (found->error != 0) return Step::Continue;
        address = found->address;
    }
    ListenResult result = OpenListeningSocket(address, m_port, loop.listenEvent.Get());
    m_listening = std::move(result.socket);
    if (!m_listening.IsOpen() || loop.listenTries > 0) OnError("Listen", result.error);
    ++loop.listenTries;
    // The port of a connection just ended may be taken for a moment.
    loop.timeout = result.error == WSAEADDRINUSE ? m_reconnectInterval : WSA_INFINITE;
    return Step::Continue;
}

void _NetworkInterfaceSocket::AcceptPeer(Loop& loop) {
    CSocket peer(accept(m_listening.Get(), nullptr, nullptr));
    if (!peer.IsOpen()) return;  // it has gone again
    CloseDataSocket(loop);
    SendAtOnce(peer.Get());
    // An accepted socket has inherited the selection of the listening one.
    if (WSAEventSelect(peer.Get(), loop.dataEvent.Get(), FD_READ | FD_CLOSE) != 0) return;
    OnPeerAccepted();
    SetDataSocket(std::move(peer));
    SetState(ConnectionState::Connected);
}
