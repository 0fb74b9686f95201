#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include "ethash/hash/EthashItems.h"
#include "ethash/hash/Fnv.h"
#include "ethash/hash/Keccak.h"

// What the forms of Hashimoto share.

inline constexpr std::size_t kMixWords = 32;
inline constexpr std::uint32_t kAccesses = 64;
inline constexpr std::uint64_t kPageBytes = 128;

// Where the hash of one nonce is on its way through the dataset.
struct HashimotoWalk {
    Hash512 seedHash{};
    std::uint32_t mix[kMixWords] = {};
    std::uint32_t firstWord = 0;

    void Begin(const Hash256& header, std::uint64_t nonce) {
        std::uint8_t start[40];
        std::memcpy(start, header.data(), header.size());
        std::memcpy(start + header.size(), &nonce, sizeof nonce);
        seedHash = Keccak512(start);
        std::memcpy(mix, seedHash.data(), seedHash.size());
        std::memcpy(mix + kMixWords / 2, seedHash.data(), seedHash.size());
        firstWord = mix[0];
    }

    // The page that this access mixes in, before it is brought into the dataset's range.
    [[gnu::always_inline]] std::uint32_t Page(std::uint32_t access) const {
        return Fnv(access ^ firstWord, mix[access % kMixWords]);
    }

    [[gnu::always_inline]] void Mix(const EthashItem& first, const EthashItem& second) {
        for (std::size_t i = 0; i < kItemWords; ++i) {
            mix[i] = Fnv(mix[i], first.words[i]);
            mix[kItemWords + i] = Fnv(mix[kItemWords + i], second.words[i]);
        }
    }

    EthashResult Finish() const {
        EthashResult result;
        std::uint8_t end[96];
        std::memcpy(end, seedHash.data(), seedHash.size());
        for (std::size_t i = 0; i < kMixWords; i += 4) {
            const std::uint32_t word = Fnv(Fnv(Fnv(mix[i], mix[i + 1]), mix[i + 2]), mix[i + 3]);
            std::memcpy(result.mix.data() + i, &word, sizeof word);
        }
        std::memcpy(end + seedHash.size(), result.mix.data(), result.mix.size());
        result.final = Keccak256(end);
        return result;
    }
};

inline std::uint32_t PageCount(const EthashEpoch& epoch) {
    return static_cast<std::uint32_t>(epoch.datasetBytes / kPageBytes);
}

[[gnu::always_inline]] inline bool HasStruck(const EthashAbort* abort) {
    return abort != nullptr && abort->word.load(std::memory_order_relaxed) != abort->expected;
}
