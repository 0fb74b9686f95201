#include "mining/FeePoolOrder.h"

#include <utility>

#include "common/DetachedThread.h"

CFeePoolOrder::~CFeePoolOrder() {
    if (m_request != nullptr) m_request->abandoned = true;
}

void CFeePoolOrder::Start(std::vector<PoolPointer> pools, PingFunction ping) {
    if (m_request != nullptr) return;
    m_request = std::make_shared<Request>();
    // Without a thread the list keeps the order that it has.
    static_cast<void>(StartDetached([request = m_request, pools = std::move(pools), ping = std::move(ping)]() mutable {
        const PingFunction pingUnlessAbandoned = [&](const PoolEntry& pool, std::uint32_t& roundTrip) {
            return !request->abandoned && ping(pool, roundTrip);
        };
        std::vector<PoolPointer> ordered = OrderByLatency(std::move(pools), pingUnlessAbandoned);
        const std::lock_guard guard(request->lock);
        request->result = std::move(ordered);
    }));
}

std::optional<std::vector<PoolPointer>> CFeePoolOrder::Take() {
    if (m_request == nullptr) return std::nullopt;
    const std::lock_guard guard(m_request->lock);
    return std::exchange(m_request->result, std::nullopt);
}
