#include "world/Network.h"
#include <algorithm>
#include "net/DataLink.h"
#include "world/Pool.h"

namespace {

// Codes of Windows Sockets.
constexpr std::uint32_t kNoRoute = 10051;
constexpr std::uint32_t kWasReset = 10054;
constexpr std::uint32_t kNotConnected = 10057;
constexpr std::uint32_t kTimedOut = 10060;
constexpr std::uint32_t kRefused = 10061;
constexpr std::uint32_t kHostNotFound = 11001;

constexpr std::uint32_t kNet = 10;  // every pool has two addresses: 10.0.<pool>.<1 or 2>

HostAddress AddressOf(int pool, int number) {
    HostAddress address;
    address.bytes = {kNet, 0, static_cast<std::uint8_t>(pool), static_cast<std::uint8_t>(number)};
    return address;
}

}  // namespace

CNetwork::CNetwork(CKernel& kernel, const CConditions& conditions, std::uint64_t seed)
    : m_kernel(kernel), m_conditions(conditions), m_random(seed, "network"), m_owner(kernel.NewOwner()) {}

TimeSpan CNetwork::Delay() {
    TimeSpan delay = m_random.Between(10 * kTicksPerMillisecond, 80 * kTicksPerMillisecond);
    if (m_conditions.Is(FaultKind::SlowNetwork)) delay += m_random.Between(0, 3 * kTicksPerSecond);
    return delay;
}

int CNetwork::PoolAt(const HostAddress& address) const {
    return std::min<int>(address.bytes[2], kPools - 1);
}

void CNetwork::LookUp(const std::wstring& host, CKernel::Owner owner, std::function<void(LookUpAnswer)> answer) {
    constexpr TimeSpan kLookUpTime = 30 * kTicksPerSecond;
    LookUpAnswer found;
    TimeSpan delay = Delay();
    if (m_conditions.Is(FaultKind::NoNames) || m_conditions.Is(FaultKind::Outage)) {
        switch (m_random.Below(3)) {
            case 0:
                found = {kResolverTryAgain, true, {}};
                delay = kLookUpTime;
                break;
            case 1:
                found.error = kResolverTryAgain;
                break;
            default:
                found.error = kHostNotFound;
                break;
        }
    } else {
        found.error = kHostNotFound;
        for (int pool = 0; pool < kPools; ++pool) {
            if (HostOf(pool) == host) found = {0, false, {AddressOf(pool, 1), AddressOf(pool, 2)}};
        }
    }
    m_kernel.After(delay, owner, [answer = std::move(answer), found] { answer(found); });
}

void CNetwork::Connect(const HostAddress& address, CKernel::Owner owner,
                       std::function<void(std::uint32_t, WirePointer)> done) {
    const int pool = PoolAt(address);
    const auto is = [&](FaultKind kind) { return m_conditions.Is(kind, pool); };
    ++m_pools[static_cast<std::size_t>(pool)]->attempts;
    if (m_conditions.Is(FaultKind::Outage)) {
        if (m_random.Chance(0.5)) m_kernel.After(Delay(), owner, [done] { done(kNoRoute, nullptr); });
        return;
    }
    if (is(FaultKind::BlackHole) || (is(FaultKind::OneAddress) && address.bytes[3] == 1)) return;
    // A handshake is there and back, and an encrypted one as much again.
    const TimeSpan delay = Delay() + Delay();
    if (is(FaultKind::Refuse) || is(FaultKind::Maintenance)) {
        m_kernel.After(delay, owner, [done] { done(kRefused, nullptr); });
        return;
    }
    if (is(FaultKind::Untrusted)) {
        m_kernel.After(delay, owner, [done] { done(kTrustFailure | 1, nullptr); });
        return;
    }
    m_kernel.After(delay, owner, [this, pool, done] {
        auto wire = std::make_shared<CWire>();
        wire->pool = m_pools[static_cast<std::size_t>(pool)];
        std::erase_if(m_wires, [](const WirePointer& known) { return known->isClosed; });
        m_wires.push_back(wire);
        wire->pool->Accept(wire);
        done(0, wire);
        if (m_conditions.Is(FaultKind::AcceptClose, pool)) CloseFromPool(wire, 0);
        if (m_conditions.Is(FaultKind::Outage)) wire->isDead = true;
    });
}

std::uint32_t CNetwork::SendToPool(const WirePointer& wire, std::string_view text) {
    if (wire->isClosed) return kNotConnected;
    if (wire->isDead) {
        // The system sends it again a few times and gives up.
        if (std::exchange(wire->isBreaking, true)) return 0;
        m_kernel.After(m_random.Between(9, 21) * kTicksPerSecond, m_owner, [wire] {
            if (!std::exchange(wire->isClosed, true) && wire->ended) wire->ended(kTimedOut);
        });
        return 0;
    }
    wire->toPoolAt = std::max(wire->toPoolAt, m_kernel.Now() + Delay());
    m_kernel.At(wire->toPoolAt, m_owner, [wire, line = std::string(text)] {
        if (!wire->isDead && !wire->isClosed) wire->pool->Receive(wire, line);
    });
    return 0;
}

void CNetwork::SendToRig(const WirePointer& wire, std::string text) {
    if (wire->isClosed || wire->isDead) return;
    const auto deliver = [this, &wire](std::string part, TimeSpan delay) {
        wire->toRigAt = std::max(wire->toRigAt, m_kernel.Now() + delay);
        m_kernel.At(wire->toRigAt, m_owner, [wire, part = std::move(part)] {
            if (!wire->isDead && !wire->isClosed && wire->toRig) wire->toRig(part);
        });
    };
    if (!m_conditions.Is(FaultKind::PartialLines)) return deliver(std::move(text), Delay());
    const TimeSpan first = Delay();
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = 1 + m_random.Below(text.size() - at);
        deliver(text.substr(at, length), first + m_random.Between(0, kTicksPerSecond));
        at += length;
    }
}

void CNetwork::CloseFromRig(const WirePointer& wire) {
    wire->toRig = nullptr;
    wire->ended = nullptr;
    wire->isClosed = true;
}

void CNetwork::CloseFromPool(const WirePointer& wire, std::uint32_t error) {
    if (wire->isDead || wire->isClosed) return;
    wire->toRigAt = std::max(wire->toRigAt, m_kernel.Now() + Delay());
    m_kernel.At(wire->toRigAt, m_owner, [wire, error] {
        if (!wire->isDead && !std::exchange(wire->isClosed, true) && wire->ended) wire->ended(error);
    });
}

void CNetwork::Kill(int pool) {
    for (const WirePointer& wire : m_wires) {
        if (pool < 0 || wire->pool == m_pools[static_cast<std::size_t>(pool)]) wire->isDead = true;
    }
}

void CNetwork::Reset(int pool, std::uint32_t error) {
    for (const WirePointer& wire : std::vector(m_wires)) {
        if (pool < 0 || wire->pool == m_pools[static_cast<std::size_t>(pool)])
            CloseFromPool(wire, error != 0 ? kWasReset : 0);
    }
}
