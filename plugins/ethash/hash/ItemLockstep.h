#pragma once
#include <cstring>
#include "ethash/hash/EthashItems.h"
#include "ethash/hash/Fnv.h"

// The lockstep over several items, written once. Always inlined, so that the caller's instruction set applies.

// a % divisor by two multiplications; exact for every 32-bit a and divisor.
class CFastRemainder {
  public:
    explicit CFastRemainder(std::uint32_t divisor) noexcept
        : m_factor(~std::uint64_t{0} / divisor + 1), m_divisor(divisor) {}
    [[gnu::always_inline]] std::uint32_t operator()(std::uint32_t a) const noexcept {
        __extension__ using Wide = unsigned __int128;
        return static_cast<std::uint32_t>((static_cast<Wide>(m_factor * a) * m_divisor) >> 64);
    }

  private:
    std::uint64_t m_factor;
    std::uint32_t m_divisor;
};

[[gnu::always_inline]] inline void MixRow(std::uint32_t* __restrict words, const std::uint32_t* __restrict row) noexcept {
    for (std::size_t i = 0; i < kItemWords; ++i)
        words[i] = Fnv(words[i], row[i]);
}

// hashItems(items, count): Keccak-512 of each item in place.
template <class HashItems>
[[gnu::always_inline]] inline void LockstepItems(const CEthashCache& cache, std::span<const std::uint32_t> indices,
                                                 EthashItem* items, HashItems hashItems) {
    const std::uint32_t* const rows = cache.Words().data();
    const CFastRemainder remainder(static_cast<std::uint32_t>(cache.Words().size() / kItemWords));
    const std::size_t count = indices.size();
    const std::uint32_t* const index = indices.data();
    const std::uint32_t* parent[kLockstepItems];

    for (std::size_t lane = 0; lane < count; ++lane)
        parent[lane] = rows + kItemWords * remainder(index[lane]);
    for (std::size_t lane = 0; lane < count; ++lane) {
        std::memcpy(items[lane].words, parent[lane], sizeof(EthashItem));
        items[lane].words[0] ^= index[lane];
    }
    hashItems(items, count);

    const auto fetch = [&](std::size_t lane, std::uint32_t step) __attribute__((always_inline)) {
        const std::uint32_t number = Fnv(index[lane] ^ step, items[lane].words[step % kItemWords]);
        parent[lane] = rows + kItemWords * remainder(number);
        __builtin_prefetch(parent[lane]);
    };
    for (std::size_t lane = 0; lane < count; ++lane)
        fetch(lane, 0);
    for (std::uint32_t step = 1; step < kItemParents; ++step) {
        for (std::size_t lane = 0; lane < count; ++lane) {
            MixRow(items[lane].words, parent[lane]);
            fetch(lane, step);
        }
    }
    for (std::size_t lane = 0; lane < count; ++lane)
        MixRow(items[lane].words, parent[lane]);
    hashItems(items, count);
}
