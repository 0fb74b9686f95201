#include <algorithm>
#include <string>
#include "common/CodePage.h"
#include "net/HostLookup.h"
#include "net/SocketAddress.h"
#include "net/SocketLoop.h"

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::Prepare(bool& waits) {
    if (IsPast(m_plan.Deadline())) {
        waits = false;
        return LinkFailed("Connect timed out", WSAETIMEDOUT);
    }
    const Step step = HasLink() ? Step::Continue : ConnectNext();
    waits = HasLink();
    return step;
}

std::uint32_t _NetworkInterfaceSocket::CClientLoop::WaitTime() {
    return std::min<std::uint32_t>(m_io.OnTimer(), MillisecondsUntil(m_plan.Deadline()));
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::ConnectNext() {
    if (m_plan.NeedsLookUp()) {
        if (const Step step = LookUp(); step != Step::Continue || m_plan.NeedsLookUp()) return step;
    }
    const HostAddress address = m_plan.Next(Now());
    m_io.OnActivity(ConnectActivity::Connecting, EndpointText(address, m_io.m_port));
    std::unique_ptr<IDataLink> link = m_io.MakeLink(m_dataEvent.Get());
    if (const std::uint32_t error = link->Connect(address, m_io.m_port); error != 0) {
        link.reset();
        return AddressFailed("Connect failed", error);
    }
    SetLink(std::move(link));
    m_io.m_drop.reset();  // what was wished before there was anything to end
    return Step::Continue;
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::LookUp() {
    const std::wstring& host = m_io.m_host;
    std::optional<LookUpAnswer> answer;
    if (const auto literal = ParseAddress(host)) {
        answer = LookUpAnswer{0, false, {*literal}};
    } else {
        m_io.OnActivity(ConnectActivity::Resolving, WideToNarrow(host));
        answer = m_io.m_lookUp.LookUp(host, m_io.StopEvent(), m_io.m_limits.lookUp);
    }
    if (!answer) return Step::Stopped;
    const auto notFound = m_plan.LookedUp(*answer);
    if (!notFound) {
        if (answer->error != 0) m_io.OnError("Resolve", answer->error);
        return Step::Continue;
    }
    if (*notFound == CConnectPlan::NotFound::Again) return Pause(m_io.m_reconnectInterval);
    const std::string text = answer->timedOut ? std::string() : SystemMessage(answer->error);
    return AttemptFailed(text.empty() ? "Host not found" : text.c_str(), answer->error);
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::LinkConnected(std::uint32_t error) {
    if (error != 0) return LinkFailed("Connect failed", error);
    m_plan.Connected();
    if (const std::string how = m_io.m_link->Protection(); !how.empty()) m_io.OnSecured(how);
    m_io.SetState(ConnectionState::Connected);
    return Step::Continue;
}

// The link may know better why.
_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::LinkFailed(const char* text,
                                                                                            std::uint32_t error) {
    const std::optional<LinkFailure> why = HasLink() ? m_io.m_link->Failure() : std::nullopt;
    return why ? AddressFailed(why->text.c_str(), why->code) : AddressFailed(text, error);
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::AddressFailed(const char* text,
                                                                                               std::uint32_t error) {
    CloseLink();
    return m_plan.AddressFailed() ? AttemptFailed(text, error) : Step::Continue;
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::AttemptFailed(const char* text,
                                                                                               std::uint32_t error) {
    m_plan.GiveUp();
    if (m_io.m_stopping) return Step::Stopped;
    if (m_io.OnConnectError(text, error) != kKeepTrying) return Step::Failed;
    return Pause(m_io.ReconnectPause(false));
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::LinkBroken(std::uint32_t error) {
    if (m_io.m_state != ConnectionState::Connected) return LinkFailed("Connect failed", error);
    return ConnectionEnded("Connection lost", error);
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::ConnectionEnded(const char* text,
                                                                                                 std::uint32_t error) {
    if (m_io.m_stopping) return Step::Stopped;
    if (m_io.OnConnectError(text, error) != kKeepTrying) return Step::Failed;
    CloseLink();
    m_plan.Lost();
    m_io.SetState(ConnectionState::Disconnected);
    return Pause(m_io.ReconnectPause(true));
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::Dropped(const Drop& drop) {
    if (m_io.m_state == ConnectionState::Connected) return ConnectionEnded(drop.text.c_str(), drop.code);
    CloseLink();
    return AttemptFailed(drop.text.c_str(), drop.code);
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::EventsMissing() {
    return AttemptFailed("Connect failed", WSA_NOT_ENOUGH_MEMORY);
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::WaitFailed(std::uint32_t error) {
    return LinkBroken(error);
}

_NetworkInterfaceSocket::CClientLoop::Step _NetworkInterfaceSocket::CClientLoop::OutOfMemory(bool wasConnected,
                                                                                             std::uint32_t& pause) {
    if (m_io.m_stopping) return Step::Continue;
    wasConnected ? m_plan.Lost() : m_plan.GiveUp();
    std::uint32_t answer = kKeepTrying;
    TryWithoutMemory([&] { answer = m_io.OnConnectError("Out of memory", WSA_NOT_ENOUGH_MEMORY); });
    if (wasConnected) TryWithoutMemory([this] { m_io.SetState(ConnectionState::Disconnected); });
    TryWithoutMemory([&] { pause = std::max(pause, m_io.ReconnectPause(wasConnected)); });
    return answer == kKeepTrying ? Step::Continue : Step::Failed;
}
