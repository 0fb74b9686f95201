#include "world/Connection.h"
#include <utility>

namespace {

constexpr std::uint32_t kNotConnected = 10057;
constexpr std::uint32_t kTimedOut = 10060;
constexpr std::uint32_t kNoTick = 0xFFFFFFFF;
constexpr TimeSpan kQuietTick = 10 * kTicksPerSecond;

}  // namespace

CSimConnection::CSimConnection(const ConnectionWorld& world, StratumKind kind, IStratumHost& host,
                               IConnectionWindows& windows)
    : m_world(world), m_windows(windows), m_session(kind, host, *this, world.clock, this) {}

CSimConnection::~CSimConnection() {
    if (m_running) m_world.kernel.Forget(m_owner);
    CloseLink();
}

void CSimConnection::Connect() {
    if (m_running) return;
    m_session.Reset();
    if (!m_session.CurrentPool()) return;
    if (m_world.conditions.Is(FaultKind::NoThread)) return;
    m_running = true;
    m_owner = m_world.kernel.NewOwner();
    m_host = m_session.Target().reason.empty() ? m_session.Target().host : std::wstring();
    m_plan.emplace(SocketLimits{});
    Pause(m_session.RetryDelay());
}

void CSimConnection::CloseConnection() {
    if (!std::exchange(m_running, false)) return;
    m_world.kernel.Forget(m_owner);
    CloseLink();
    m_session.Closed();
}

void CSimConnection::CloseLink() {
    ++m_attempt;
    m_framer.Clear();
    m_drop.reset();
    if (const WirePointer wire = std::exchange(m_wire, nullptr)) m_world.network.CloseFromRig(wire);
}

void CSimConnection::Pause(std::uint32_t milliseconds) {
    m_world.kernel.After(milliseconds * kTicksPerMillisecond, m_owner, [this] { ConnectNext(); });
}

void CSimConnection::ConnectNext() {
    if (m_plan->NeedsLookUp()) {
        m_session.Resolving("pool");
        m_world.network.LookUp(m_host, m_owner, [this](const LookUpAnswer& answer) { LookedUp(answer); });
        return;
    }
    const HostAddress address = m_plan->Next(m_world.clock.Monotonic());
    m_session.Connecting("10.0." + std::to_string(address.bytes[2]) + "." + std::to_string(address.bytes[3]));
    const std::uint64_t attempt = ++m_attempt;
    m_world.network.Connect(address, m_owner, [this, attempt](std::uint32_t error, const WirePointer& wire) {
        AttemptEnded(attempt, error, wire);
    });
    const TimeSpan left = *m_plan->Deadline() - m_world.clock.Monotonic();
    m_world.kernel.After(left, m_owner, [this, attempt] { AttemptEnded(attempt, kTimedOut, nullptr); });
}

void CSimConnection::LookedUp(const LookUpAnswer& answer) {
    const auto notFound = m_plan->LookedUp(answer);
    if (!notFound) return ConnectNext();
    if (*notFound == CConnectPlan::NotFound::Again) return Pause(1000);
    AttemptFailed("Host not found", answer.error);
}

void CSimConnection::AttemptEnded(std::uint64_t attempt, std::uint32_t error, const WirePointer& wire) {
    if (attempt != m_attempt || m_wire) {
        if (wire && wire != m_wire) m_world.network.CloseFromRig(wire);
        return;
    }
    if (error != 0) return AddressFailed(error == kTimedOut ? "Connect timed out" : "Connect failed", error);
    m_world.promises.Changed();
    m_plan->Connected();
    m_wire = wire;
    wire->toRig = [this](std::string_view bytes) { Receive(bytes); };
    wire->ended = [this](std::uint32_t why) { ConnectionEnded("Connection lost", why); };
    m_session.Connected();
    CarryOutDrop();
    Tick(attempt);
}

void CSimConnection::AddressFailed(const char* text, std::uint32_t error) {
    ++m_attempt;
    if (m_plan->AddressFailed()) {
        AttemptFailed(text, error);
    } else {
        ConnectNext();
    }
}

void CSimConnection::AttemptFailed(const char* text, std::uint32_t error) {
    m_plan->GiveUp();
    m_session.ConnectError(text, error);
    Pause(m_session.RetryDelay());
}

void CSimConnection::ConnectionEnded(const std::string& text, std::uint32_t error) {
    m_world.promises.Changed();
    m_session.ConnectError(text, error);
    CloseLink();
    m_plan->Lost();
    m_session.Disconnected();
    Pause(m_session.RetryDelay());
}

void CSimConnection::Receive(std::string_view bytes) {
    m_framer.Add(bytes);
    for (auto line = m_framer.NextLine(); !line.empty() && !m_drop; line = m_framer.NextLine()) {
        const std::string_view text(line.data(), line.size() - 1);
        const std::uint32_t id = CShareDesk::RequestId(text);
        const bool isShare = id > kIdReserved && text.find("\"method\"") == text.npos;
        if (isShare) {
            const bool isTrue = text.find("\"result\":true") != text.npos;
            m_world.promises.AnswerDelivered(CShareDesk::GpuOf(id), isTrue);
        }
        m_session.LineReceived(text);
    }
    CarryOutDrop();
}

void CSimConnection::Tick(std::uint64_t attempt) {
    if (attempt != m_attempt || !m_wire) return;
    const std::uint32_t next = m_session.Tick();
    CarryOutDrop();
    if (!m_wire || next == kNoTick) return;
    const TimeSpan span = m_world.promises.IsQuiet() ? kQuietTick : next * kTicksPerMillisecond;
    m_world.kernel.After(span, m_owner, [this, attempt] { Tick(attempt); });
}

void CSimConnection::CarryOutDrop() {
    if (!m_drop) return;
    const Drop drop = *std::exchange(m_drop, std::nullopt);
    if (m_wire) ConnectionEnded(drop.text, drop.code);
}

std::uint32_t CSimConnection::SendText(std::string_view text) {
    if (!m_running) m_world.promises.CalledAfterStop("sent: " + std::string(text));
    if (!m_wire) return kNotConnected;
    const std::uint32_t error = m_world.network.SendToPool(m_wire, text);
    const std::uint32_t id = CShareDesk::RequestId(text);
    if (error == 0 && id > kIdReserved) m_world.promises.ShareSent(CShareDesk::GpuOf(id));
    return error;
}
