#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include "ethash/hash/Ethash.h"

// Items of the dataset, computed from the light cache. Pure; any thread.

inline constexpr std::size_t kItemWords = 16;
inline constexpr std::uint32_t kItemParents = 256;

struct alignas(64) EthashItem {
    std::uint32_t words[kItemWords];
};

// One item, one parent after the other.
EthashItem DatasetItem(const CEthashCache& cache, std::uint32_t index);

// As many items as there are indices, up to kLockstepItems of them in lockstep: while one waits for its parent in the cache
// the others go on. items must be at least as long as indices.
inline constexpr std::size_t kLockstepItems = 2 * kBatchNonces;
void DatasetItems(const CEthashCache& cache, std::span<const std::uint32_t> indices, std::span<EthashItem> items);

// The two forms behind DatasetItems; at most kLockstepItems items.
void DatasetItemsBaseline(const CEthashCache& cache, std::span<const std::uint32_t> indices, EthashItem* items);
bool HasAvx2();
void DatasetItemsAvx2(const CEthashCache& cache, std::span<const std::uint32_t> indices, EthashItem* items);
