#include "mining/FeePools.h"

#include <span>

#include "common/CodePage.h"
#include "mining/FeePoolTable.h"

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
