#include "net/ConnectPlan.h"
#include <algorithm>

namespace {

constexpr unsigned kSilentTriesAgain = 5;

}  // namespace

std::optional<CConnectPlan::NotFound> CConnectPlan::LookedUp(const LookUpAnswer& answer) {
    const bool triesAgain = answer.error == kResolverTryAgain && !answer.timedOut;
    m_triesAgain = triesAgain ? m_triesAgain + 1 : 0;
    if (answer.addresses.empty())
        return triesAgain && m_triesAgain <= kSilentTriesAgain ? NotFound::Again : NotFound::Failed;
    m_addresses = answer.addresses;
    m_next = 0;
    return std::nullopt;
}

HostAddress CConnectPlan::Next(TimeSpan now) {
    const auto count = static_cast<std::uint32_t>(m_addresses.size());
    m_deadline = now + std::max(m_limits.attempt / count, m_limits.address) * kTicksPerMillisecond;
    return m_addresses[m_next++];
}

bool CConnectPlan::AddressFailed() {
    m_deadline.reset();
    return NeedsLookUp();
}

void CConnectPlan::GiveUp() {
    m_deadline.reset();
    m_addresses.clear();
    m_next = 0;
}

void CConnectPlan::Lost() {
    m_deadline.reset();
    const auto tried = m_addresses.begin() + static_cast<std::ptrdiff_t>(m_next);
    if (m_next > 1) std::rotate(m_addresses.begin(), tried - 1, tried);
    m_next = 0;
}
