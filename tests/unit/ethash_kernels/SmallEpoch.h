#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <utility>
#include <vector>

#include "ethash/hash/Ethash.h"
#include "ethash/hash/EthashItems.h"
#include "ethash/kernels/KernelParameters.h"
#include "kernels/GpuEmulator.h"

// The orders in which every kernel must come to the same.
inline const std::pair<const char*, CTurns> kAllTurns[] = {
    {"ascending", CTurns::Ascending()}, {"descending", CTurns::Descending()}, {"shuffled", CTurns::Shuffled(1)}};

// An epoch small enough to make its whole dataset, and what of it the kernels are given.

inline std::shared_ptr<const CEthashCache> SmallCache(std::uint64_t rows, std::uint64_t pages) {
    const EthashEpoch epoch{.epoch = 3, .seedIndex = 3, .cacheBytes = 64 * rows, .datasetBytes = 128 * pages};
    return CEthashCache::Make(EthashVariant::Ethash, epoch, SeedOfIndex(3), nullptr);
}

inline std::vector<EthashItem> WholeDataset(const CEthashCache& cache) {
    std::vector<std::uint32_t> indices(cache.Epoch().datasetBytes / sizeof(EthashItem));
    std::iota(indices.begin(), indices.end(), 0u);
    std::vector<EthashItem> items(indices.size());
    DatasetItems(cache, indices, items);
    return items;
}

inline EthashDivisor Divisor(std::uint64_t value) {
    return {static_cast<unsigned>(value), static_cast<unsigned>((std::uint64_t{1} << 32) / value)};
}
