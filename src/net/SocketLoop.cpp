#include "net/SocketLoop.h"
#include <algorithm>
#include <new>
#include <span>
#include <utility>
#include "common/Clock.h"

namespace {

constexpr std::uint32_t kExitStopped = 0;
constexpr std::uint32_t kExitFailed = 0xFFFFFFFF;

std::uint32_t ErrorOf(const WSANETWORKEVENTS& events, int bit) {
    return static_cast<std::uint32_t>(events.iErrorCode[bit]);
}

bool IsPast(const std::optional<TimeSpan>& moment) {
    return moment && SystemClock().Monotonic() >= *moment;
}

// Rounded up: a wait that ends early would only be repeated.
DWORD MillisecondsUntil(TimeSpan moment) {
    const TimeSpan left = std::max<TimeSpan>(moment - SystemClock().Monotonic(), 0);
    return static_cast<DWORD>((left + kTicksPerMillisecond - 1) / kTicksPerMillisecond);
}

// Of what is done because memory ran out: it may run out there again, and the loop goes on all the same.
template <typename Action>
void TryWithoutMemory(Action action) {
    try {
        action();
    } catch (const std::bad_alloc&) {
        return;
    }
}

}  // namespace

// Requests are short and waited for: none of them is held back to be joined with the next.
void SendAtOnce(SOCKET socket) {
    const BOOL on = TRUE;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
}

TimeSpan FromNow(std::uint32_t milliseconds) {
    return SystemClock().Monotonic() + milliseconds * kTicksPerMillisecond;
}

std::uint32_t _NetworkInterfaceSocket::IoLoop(void*) {
    Loop loop(m_delimiter, m_lineLimit);
    if (m_listenMode != 0) loop.listenAt = FromNow(0);
    Step step = m_listenMode == 0 ? Pause(StartPause()) : Step::Continue;
    while (step == Step::Continue) {
        try {
            step = Pass(loop);
        } catch (const std::bad_alloc&) {
            step = OutOfMemory(loop);
        }
    }
    CloseDataSocket(loop);
    m_listening.Close();
    TryWithoutMemory([this] { SetState(ConnectionState::Disconnected); });
    return step == Step::Stopped ? kExitStopped : kExitFailed;
}

// Throws std::bad_alloc, like all that it calls: a callback's too.
_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::Pass(Loop& loop) {
    if (!loop.dataEvent.Create() || !loop.listenEvent.Create()) return EventsMissing(loop);
    if (IsPast(loop.listenAt)) {
        if (const Step step = Listen(loop); step != Step::Continue) return step;
    }
    if (IsPast(loop.connectEnd)) return AddressFailed(loop, "Connect timed out", WSAETIMEDOUT);
    if (m_listenMode == 0 && !m_data.IsOpen()) {
        if (const Step step = ConnectNext(loop); step != Step::Continue || !m_data.IsOpen()) return step;
    }
    const Step step = WaitForEvent(loop);
    return step == Step::Continue && m_drop ? Dropped(loop) : step;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::EventsMissing(Loop& loop) {
    if (m_listenMode == 0) return AttemptFailed(loop, "Connect failed", WSA_NOT_ENOUGH_MEMORY);
    TellListening(loop, WSA_NOT_ENOUGH_MEMORY);
    return Pause(m_reconnectInterval);
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::OutOfMemory(Loop& loop) {
    const bool wasConnected = m_state == ConnectionState::Connected;
    CloseDataSocket(loop);
    loop.framer = CLineFramer(m_delimiter, m_lineLimit);  // gives back what a long line had taken
    std::uint32_t answer = kKeepTrying;
    std::uint32_t pause = m_reconnectInterval;
    if (m_listenMode != 0) {
        TryWithoutMemory([this] { OnError("ReadData", WSA_NOT_ENOUGH_MEMORY); });
    } else if (!m_stopping) {
        wasConnected ? loop.round.Repeat() : loop.round.End();
        TryWithoutMemory([&] { answer = OnConnectError("Out of memory", WSA_NOT_ENOUGH_MEMORY); });
        if (wasConnected) TryWithoutMemory([this] { SetState(ConnectionState::Disconnected); });
        TryWithoutMemory([&] { pause = std::max(pause, ReconnectPause(wasConnected)); });
    }
    return answer == kKeepTrying ? Pause(pause) : Step::Failed;
}

DWORD _NetworkInterfaceSocket::WaitTime(const Loop& loop) {
    DWORD wait = m_listenMode == 0 ? OnTimer() : WSA_INFINITE;
    for (const auto& moment : {loop.connectEnd, loop.listenAt}) {
        if (moment) wait = std::min(wait, MillisecondsUntil(*moment));
    }
    return wait;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::WaitForEvent(Loop& loop) {
    const std::array<WSAEVENT, 3> events = {StopEvent(), loop.dataEvent.Get(), loop.listenEvent.Get()};
    const DWORD wait = WaitTime(loop);
    if (m_drop) return Step::Continue;
    switch (WSAWaitForMultipleEvents(static_cast<DWORD>(events.size()), events.data(), FALSE, wait, TRUE)) {
        case WSA_WAIT_EVENT_0:
            return Step::Stopped;
        case WSA_WAIT_EVENT_0 + 1:
            return OnDataEvent(loop);
        case WSA_WAIT_EVENT_0 + 2:
            return OnListenEvent(loop);
        case WSA_WAIT_FAILED: {
            const auto error = static_cast<std::uint32_t>(WSAGetLastError());
            const Step step = m_listenMode == 0 ? ConnectionLost(loop, error) : Step::Continue;
            // Paced, so that a failure that stays does not spin.
            return step == Step::Continue ? Pause(m_reconnectInterval) : step;
        }
        default:  // the time has come for something, or an asynchronous call ran on this thread
            return Step::Continue;
    }
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::Pause(std::uint32_t milliseconds) {
    return WaitForSingleObject(StopEvent(), milliseconds) == WAIT_TIMEOUT ? Step::Continue : Step::Stopped;
}

void _NetworkInterfaceSocket::CloseDataSocket(Loop& loop) {
    SetDataSocket(CSocket());
    // Neither an event of the old socket nor the bytes of its unfinished line nor a wish to end it mean anything to the
    // next.
    if (loop.dataEvent.IsValid()) WSAResetEvent(loop.dataEvent.Get());
    loop.framer.Clear();
    loop.connectEnd.reset();
    m_drop.reset();
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::OnDataEvent(Loop& loop) {
    WSANETWORKEVENTS events = {};
    if (WSAEnumNetworkEvents(m_data.Get(), loop.dataEvent.Get(), &events) != 0) {
        const auto error = static_cast<std::uint32_t>(WSAGetLastError());
        WSAResetEvent(loop.dataEvent.Get());
        return m_listenMode == 0 ? ConnectionLost(loop, error) : Step::Continue;
    }
    if ((events.lNetworkEvents & FD_CONNECT) != 0) {
        const std::uint32_t error = ErrorOf(events, FD_CONNECT_BIT);
        if (error != 0) return AddressFailed(loop, "Connect failed", error);
        Connected(loop);
    }
    if ((events.lNetworkEvents & FD_READ) != 0 && !m_drop) {
        const Step step = OnReadEvent(loop, ErrorOf(events, FD_READ_BIT));
        if (step != Step::Continue || !m_data.IsOpen()) return step;
    }
    if ((events.lNetworkEvents & FD_CLOSE) != 0 && !m_drop) return OnCloseEvent(loop, ErrorOf(events, FD_CLOSE_BIT));
    return Step::Continue;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::OnReadEvent(Loop& loop, std::uint32_t error) {
    loop.receiveError = error;
    switch (error == 0 ? Receive(loop) : Reception::Failed) {
        case Reception::TooLong:
            return LineTooLong(loop);
        case Reception::Failed:
            OnError("ReadData", loop.receiveError);
            return m_listenMode == 0 ? ConnectionLost(loop, loop.receiveError) : Step::Continue;
        default:
            return Step::Continue;
    }
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::OnCloseEvent(Loop& loop, std::uint32_t error) {
    // What arrived before the end comes first. Bounded by what the system holds of a connection that the peer has ended.
    for (Reception got = Reception::Data; got == Reception::Data && !m_stopping && !m_drop;) {
        got = Receive(loop);
        if (got == Reception::TooLong) return LineTooLong(loop);
    }
    // With a server the state stays "connected", and the socket in place, until the next peer comes. The listening socket is
    // kept: to replace it would turn away a peer that reconnects in just that moment.
    return m_listenMode == 0 && !m_drop ? ConnectionLost(loop, error) : Step::Continue;
}

_NetworkInterfaceSocket::Step _NetworkInterfaceSocket::LineTooLong(Loop& loop) {
    if (m_listenMode == 0) return ConnectionLost(loop, WSAECONNABORTED);
    OnError("ReadData", WSAECONNABORTED);
    CloseDataSocket(loop);
    return Step::Continue;
}

_NetworkInterfaceSocket::Reception _NetworkInterfaceSocket::Receive(Loop& loop) {
    WSABUF buffer = {static_cast<u_long>(loop.area.size()), loop.area.data()};
    DWORD received = 0;
    DWORD flags = 0;
    if (WSARecv(m_data.Get(), &buffer, 1, &received, &flags, nullptr, nullptr) != 0) {
        const int error = WSAGetLastError();
        if (error == WSA_IO_PENDING || error == WSAEWOULDBLOCK) return Reception::Nothing;
        loop.receiveError = static_cast<std::uint32_t>(error);
        return Reception::Failed;
    }
    if (received == 0) return Reception::Nothing;
    // What these bytes may answer was sent under this lock: once it is free, OnDataSent has returned, and its time is
    // earlier.
    static_cast<void>(std::lock_guard(m_dataLock));
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
    return loop.framer.IsOverLimit() && !m_drop ? Reception::TooLong : Reception::Data;
}
