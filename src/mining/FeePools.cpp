#include "mining/FeePools.h"

#include <span>
#include <utility>

#include "common/CodePage.h"
#include "common/DetachedThread.h"
#include "mining/FeePoolTable.h"

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

namespace {

std::span<const FeePoolRow> RowsFor(std::int32_t algorithmId) {
    switch (algorithmId) {
        case 3:
        case 4:
            return kEthashFeePools;
        case 7:
        case 8:
            return kBitcoinInterestFeePools;
        case 11:
        case 12:
            return kUbiqFeePools;
        default:
            return kEthereumClassicFeePools;
    }
}

}  // namespace

std::vector<PoolPointer> BuildFeePools(std::int32_t algorithmId, const CAlgorithmList& algorithms, CFeePoolIds& ids) {
    std::vector<PoolPointer> pools;
    for (const FeePoolRow& row : RowsFor(algorithmId)) {
        auto pool = std::make_shared<PoolEntry>();
        pool->ID = ids.Next();
        pool->Algo = algorithmId;
        pool->algorithm = &algorithms.Find(algorithmId).record;
        pool->Port = row.port;
        CopyToField(L"DevFee", pool->Name);
        CopyToField(row.host, pool->Server);
        CopyToField(row.wallet, pool->WalletUser);
        CopyToField(L"QVMiner_41UI", pool->WorkerOverride);
        pools.push_back(std::move(pool));
    }
    return pools;
}
