// Compiled twice from one source; see EthashItemsAvx2.cpp for what the wider form needs on Windows.
#include <algorithm>

#include "ethash/hash/EthashDataset.h"
#include "ethash/hash/HashimotoWalk.h"
#include "ethash/hash/ItemLockstep.h"

namespace {

// While the page of one nonce is on its way the others are mixed.
[[gnu::always_inline]] inline bool HashGroup(const CEthashDataset& dataset, const Hash256& header,
                                             std::span<const std::uint64_t> nonces, EthashResult* results,
                                             const EthashAbort* abort) {
    const CFastRemainder remainder(PageCount(dataset.Cache()->Epoch()));
    const std::size_t count = nonces.size();
    HashimotoWalk walks[kBatchNonces];
    const EthashItem* pages[kBatchNonces];
    const auto fetch = [&](std::size_t i, std::uint32_t access) __attribute__((always_inline)) {
        pages[i] = dataset.Page(remainder(walks[i].Page(access)));
        __builtin_prefetch(pages[i]);
        __builtin_prefetch(pages[i] + 1);
    };
    for (std::size_t i = 0; i < count; ++i) {
        walks[i].Begin(header, nonces[i]);
        fetch(i, 0);
    }
    for (std::uint32_t access = 1; access < kAccesses; ++access) {
        if (HasStruck(abort)) return false;
        for (std::size_t i = 0; i < count; ++i) {
            walks[i].Mix(pages[i][0], pages[i][1]);
            fetch(i, access);
        }
    }
    if (HasStruck(abort)) return false;
    for (std::size_t i = 0; i < count; ++i) {
        walks[i].Mix(pages[i][0], pages[i][1]);
        results[i] = walks[i].Finish();
    }
    return true;
}

bool HashGroupBaseline(const CEthashDataset& dataset, const Hash256& header, std::span<const std::uint64_t> nonces,
                       EthashResult* results, const EthashAbort* abort) {
    return HashGroup(dataset, header, nonces, results, abort);
}

__attribute__((target("avx2"))) bool HashGroupAvx2(const CEthashDataset& dataset, const Hash256& header,
                                                   std::span<const std::uint64_t> nonces, EthashResult* results,
                                                   const EthashAbort* abort) {
    return HashGroup(dataset, header, nonces, results, abort);
}

}  // namespace

bool HashimotoBatch(const CEthashDataset& dataset, const Hash256& header, std::span<const std::uint64_t> nonces,
                    std::span<EthashResult> results, const EthashAbort* abort) {
    const auto form = HasAvx2() ? HashGroupAvx2 : HashGroupBaseline;
    for (std::size_t done = 0; done < nonces.size(); done += kBatchNonces) {
        const std::size_t count = std::min(kBatchNonces, nonces.size() - done);
        if (!form(dataset, header, nonces.subspan(done, count), results.data() + done, abort)) return false;
    }
    return true;
}
