#pragma once
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include "ethash/hash/HashMemory.h"

// The Ethash family: Ethash, Etchash and Ubqhash, from their public definition. Pure; any thread.

using Hash256 = std::array<std::uint8_t, 32>;
using Hash512 = std::array<std::uint8_t, 64>;

enum class EthashVariant : std::int32_t { Etchash, Ethash, Ubqhash };

// What an epoch is made of. epoch counts 30,000 blocks (Etchash from block 11,700,000: 60,000) and drives the sizes;
// seedIndex is how often the seed was hashed that the light cache is made from. A long epoch of Etchash spans two steps of
// the seed chain and is made from the first.
struct EthashEpoch {
    std::uint32_t epoch = 0;
    std::uint32_t seedIndex = 0;
    std::uint64_t cacheBytes = 0;
    std::uint64_t datasetBytes = 0;
};

EthashEpoch EpochOfBlock(EthashVariant variant, std::uint64_t block);
// The epoch that a pool's seed belongs to, be it the second of a long epoch; nothing when the seed is none of the first 2048
// of the chain.
std::optional<EthashEpoch> EpochOfSeed(EthashVariant variant, const Hash256& seed);
Hash256 SeedOfIndex(std::uint32_t seedIndex);

struct EpochAndSeed {
    EthashEpoch epoch;
    Hash256 seed{};
};
// The epoch that follows this one.
EpochAndSeed NextEpoch(EthashVariant variant, const EthashEpoch& epoch, const Hash256& seed);

// The light cache of one epoch: 16 MiB and up, made in a fraction of a second. Immutable; shared between threads.
class CEthashCache {
  public:
    // seed: the one of epoch.seedIndex. cancelled (may be null) is looked at now and then; null is returned when set.
    static std::shared_ptr<const CEthashCache> Make(EthashVariant variant, const EthashEpoch& epoch, const Hash256& seed,
                                                    const std::atomic<bool>* cancelled);
    // Copied from one that exists; words: cacheBytes of them.
    static std::shared_ptr<const CEthashCache> FromWords(const EthashEpoch& epoch, const Hash256& seed,
                                                         std::span<const std::uint32_t> words);
    const EthashEpoch& Epoch() const;
    const Hash256& Seed() const;
    std::span<const std::uint32_t> Words() const;  // cacheBytes / 4 little-endian words; begins at a multiple of 64 bytes

  private:
    CEthashCache(const EthashEpoch& epoch, const Hash256& seed);
    bool Fill(bool blake, const std::atomic<bool>* cancelled);

    EthashEpoch m_epoch;
    Hash256 m_seed;
    CHashMemory m_memory;
    std::uint32_t* const m_words;
};

struct EthashResult {
    Hash256 mix{};
    Hash256 final{};  // most significant byte first: compared with the target as such
};

// One hash from the light cache (dataset items computed on the way). header: the block's seal hash. Plain and sequential:
// right for checking a share, slow for searching one.
EthashResult Hashimoto(const CEthashCache& cache, const Hash256& header, std::uint64_t nonce);

// Tells a batch to give up: when the word no longer holds the expected value.
struct EthashAbort {
    const std::atomic<std::uint64_t>& word;
    std::uint64_t expected;
};

// The nonces hashed in lockstep, kBatchNonces at a time, so that their waits for memory overlap. Fills as many results as
// there are nonces. abort (may be null) is looked at 64 times per group; false, and undefined results, when it struck.
inline constexpr std::size_t kBatchNonces = 24;
bool HashimotoBatch(const CEthashCache& cache, const Hash256& header, std::span<const std::uint64_t> nonces,
                    std::span<EthashResult> results, const EthashAbort* abort = nullptr);
