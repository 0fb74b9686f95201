#include "net/SocketLoop.h"
#include <algorithm>
#include <new>
#include <utility>
#include "common/Clock.h"

namespace {

constexpr std::uint32_t kExitStopped = 0;
constexpr std::uint32_t kExitFailed = 0xFFFFFFFF;

}  // namespace

std::uint32_t _NetworkInterfaceSocket::IoLoop(void*) {
    if (m_listenMode != 0) return CServerLoop(*this).Run();
    return CClientLoop(*this).Run();
}

TimeSpan _NetworkInterfaceSocket::CLoop::Now() {
    return SystemClock().Monotonic();
}

// Rounded up: a wait that ends early would only be repeated.
std::uint32_t _NetworkInterfaceSocket::CLoop::MillisecondsUntil(const std::optional<TimeSpan>& moment) {
    if (!moment) return INFINITE;
    const TimeSpan left = std::max<TimeSpan>(*moment - Now(), 0);
    return static_cast<std::uint32_t>((left + kTicksPerMillisecond - 1) / kTicksPerMillisecond);
}

std::uint32_t _NetworkInterfaceSocket::CLoop::Run() {
    Step step = Begin();
    while (step == Step::Continue) {
        try {
            step = Pass();
        } catch (const std::bad_alloc&) {
            step = StarvedPass();
        }
    }
    CloseLink();
    TryWithoutMemory([this] { m_io.SetState(ConnectionState::Disconnected); });
    return step == Step::Stopped ? kExitStopped : kExitFailed;
}

_NetworkInterfaceSocket::CLoop::Step _NetworkInterfaceSocket::CLoop::Pass() {
    if (!m_dataEvent.Create() || !m_listenEvent.Create()) return EventsMissing();
    bool waits = true;
    if (const Step step = Prepare(waits); step != Step::Continue || !waits) return step;
    if (const Step step = WaitForEvent(); step != Step::Continue || !m_io.m_drop) return step;
    const Drop drop = *std::exchange(m_io.m_drop, std::nullopt);
    return HasLink() ? Dropped(drop) : Step::Continue;
}

_NetworkInterfaceSocket::CLoop::Step _NetworkInterfaceSocket::CLoop::StarvedPass() {
    const bool wasConnected = m_io.m_state == ConnectionState::Connected;
    CloseLink();
    m_framer = CLineFramer(m_io.m_delimiter, m_io.m_lineLimit);  // gives back what a long line had taken
    std::uint32_t pause = m_io.m_reconnectInterval;
    const Step step = OutOfMemory(wasConnected, pause);
    return step == Step::Continue ? Pause(pause) : step;
}

_NetworkInterfaceSocket::CLoop::Step _NetworkInterfaceSocket::CLoop::WaitForEvent() {
    const std::array<WSAEVENT, 3> events = {m_io.StopEvent(), m_dataEvent.Get(), m_listenEvent.Get()};
    const std::uint32_t wait = WaitTime();
    if (m_io.m_drop) return Step::Continue;
    switch (WSAWaitForMultipleEvents(static_cast<DWORD>(events.size()), events.data(), FALSE, wait, TRUE)) {
        case WSA_WAIT_EVENT_0:
            return Step::Stopped;
        case WSA_WAIT_EVENT_0 + 1:
            return OnDataEvent();
        case WSA_WAIT_EVENT_0 + 2:
            return OnListenEvent();
        case WSA_WAIT_FAILED: {
            const Step step = WaitFailed(static_cast<std::uint32_t>(WSAGetLastError()));
            // Paced, so that a failure that stays does not spin.
            return step == Step::Continue ? Pause(m_io.m_reconnectInterval) : step;
        }
        default:  // the time has come for something, or an asynchronous call ran on this thread
            return Step::Continue;
    }
}

_NetworkInterfaceSocket::CLoop::Step _NetworkInterfaceSocket::CLoop::Pause(std::uint32_t milliseconds) {
    return WaitForSingleObject(m_io.StopEvent(), milliseconds) == WAIT_TIMEOUT ? Step::Continue : Step::Stopped;
}

void _NetworkInterfaceSocket::CLoop::SetLink(std::unique_ptr<IDataLink> link) {
    const std::lock_guard lock(m_io.m_dataLock);
    m_io.m_link = std::move(link);
}

void _NetworkInterfaceSocket::CLoop::CloseLink() {
    SetLink(nullptr);
    // Neither an event of the old link nor the bytes of its unfinished line nor a wish to end it mean anything to the next.
    if (m_dataEvent.IsValid()) WSAResetEvent(m_dataEvent.Get());
    m_framer.Clear();
    m_io.m_drop.reset();
}

_NetworkInterfaceSocket::CLoop::Step _NetworkInterfaceSocket::CLoop::OnDataEvent() {
    if (!HasLink()) {
        WSAResetEvent(m_dataEvent.Get());
        return Step::Continue;
    }
    const LinkEvents events = m_io.m_link->TakeEvents();
    if (events.failed) return LinkBroken(*events.failed);
    if (events.connected) {
        const Step step = LinkConnected(*events.connected);
        if (step != Step::Continue || !HasLink()) return step;
    }
    if (events.readable && !m_io.m_drop) {
        const Step step = OnReadable(*events.readable);
        if (step != Step::Continue || !HasLink()) return step;
    }
    return events.closed && !m_io.m_drop ? OnClosed(*events.closed) : Step::Continue;
}

_NetworkInterfaceSocket::CLoop::Step _NetworkInterfaceSocket::CLoop::OnReadable(std::uint32_t error) {
    m_receiveError = error;
    switch (error == 0 ? Receive() : Reception::Failed) {
        case Reception::TooLong:
            return LineTooLong();
        case Reception::Failed:
            m_io.OnError("ReadData", m_receiveError);
            return LinkBroken(m_receiveError);
        default:
            return Step::Continue;
    }
}

_NetworkInterfaceSocket::CLoop::Step _NetworkInterfaceSocket::CLoop::OnClosed(std::uint32_t error) {
    // What arrived before the end comes first. Bounded by what the system holds of a connection that the peer has ended.
    for (Reception got = Reception::Data; got == Reception::Data && !m_io.m_stopping && !m_io.m_drop;) {
        got = Receive();
        if (got == Reception::TooLong) return LineTooLong();
    }
    return m_io.m_drop ? Step::Continue : LinkClosed(error);
}

_NetworkInterfaceSocket::CLoop::Reception _NetworkInterfaceSocket::CLoop::Receive() {
    const LinkTransfer received = m_io.m_link->Receive(m_area);
    if (received.error != 0) {
        m_receiveError = received.error;
        return Reception::Failed;
    }
    if (received.bytes == 0) return Reception::Nothing;
    // What these bytes may answer was sent under this lock: once it is free, OnDataSent has returned, and its time is
    // earlier.
    static_cast<void>(std::lock_guard(m_io.m_dataLock));
    return Deliver(std::span(m_area).first(received.bytes));
}

_NetworkInterfaceSocket::CLoop::Reception _NetworkInterfaceSocket::CLoop::Deliver(std::span<char> bytes) {
    const ddt_datetime now = SystemClock().UtcNow();
    if (!m_io.m_framing) {
        m_io.OnDataReceived(bytes.data(), static_cast<std::uint32_t>(bytes.size()), now, 0);
        return Reception::Data;
    }
    m_framer.Add(bytes);
    for (auto line = m_framer.NextLine(); !line.empty(); line = m_framer.NextLine()) {
        if (m_io.m_stopping || m_io.m_drop) return Reception::Nothing;
        m_io.OnDataReceived(line.data(), static_cast<std::uint32_t>(line.size()), now, 0);
    }
    return m_framer.IsOverLimit() && !m_io.m_drop ? Reception::TooLong : Reception::Data;
}
