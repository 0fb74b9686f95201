#include <algorithm>

#include "ethash/hash/EthashItems.h"
#include "ethash/hash/HashimotoWalk.h"

namespace {

bool HashGroup(const CEthashCache& cache, const Hash256& header, std::span<const std::uint64_t> nonces,
               EthashResult* results, const EthashAbort* abort) {
    const std::uint32_t pages = PageCount(cache.Epoch());
    const std::size_t count = nonces.size();
    HashimotoWalk walks[kBatchNonces];
    std::uint32_t indices[kLockstepItems];
    EthashItem items[kLockstepItems];
    for (std::size_t i = 0; i < count; ++i)
        walks[i].Begin(header, nonces[i]);
    for (std::uint32_t access = 0; access < kAccesses; ++access) {
        if (HasStruck(abort)) return false;
        for (std::size_t i = 0; i < count; ++i) {
            indices[2 * i] = 2 * (walks[i].Page(access) % pages);
            indices[2 * i + 1] = indices[2 * i] + 1;
        }
        DatasetItems(cache, std::span(indices, 2 * count), items);
        for (std::size_t i = 0; i < count; ++i)
            walks[i].Mix(items[2 * i], items[2 * i + 1]);
    }
    for (std::size_t i = 0; i < count; ++i)
        results[i] = walks[i].Finish();
    return true;
}

}  // namespace

EthashResult Hashimoto(const CEthashCache& cache, const Hash256& header, std::uint64_t nonce) {
    const std::uint32_t pages = PageCount(cache.Epoch());
    HashimotoWalk walk;
    walk.Begin(header, nonce);
    for (std::uint32_t access = 0; access < kAccesses; ++access) {
        const std::uint32_t index = 2 * (walk.Page(access) % pages);
        walk.Mix(DatasetItem(cache, index), DatasetItem(cache, index + 1));
    }
    return walk.Finish();
}

bool HashimotoBatch(const CEthashCache& cache, const Hash256& header, std::span<const std::uint64_t> nonces,
                    std::span<EthashResult> results, const EthashAbort* abort) {
    for (std::size_t done = 0; done < nonces.size(); done += kBatchNonces) {
        const std::size_t count = std::min(kBatchNonces, nonces.size() - done);
        if (!HashGroup(cache, header, nonces.subspan(done, count), results.data() + done, abort)) return false;
    }
    return true;
}
