#include <algorithm>

#include "ethash/hash/Ethash.h"
#include "ethash/hash/Keccak.h"

namespace {

constexpr std::uint64_t kEpochBlocks = 30'000;  // also the step of the seed chain
constexpr std::uint64_t kLongEpochBlocks = 60'000;
constexpr std::uint64_t kLongEpochsFromBlock = 11'700'000;
constexpr std::uint32_t kLongEpochsFromSeed = kLongEpochsFromBlock / kEpochBlocks;
constexpr std::uint32_t kSeedsSearched = 2048;

constexpr std::uint64_t kCacheStart = 1ULL << 24;
constexpr std::uint64_t kCacheGrowth = 1ULL << 17;
constexpr std::uint64_t kCacheRowBytes = 64;
constexpr std::uint64_t kDatasetStart = 1ULL << 30;
constexpr std::uint64_t kDatasetGrowth = 1ULL << 23;
constexpr std::uint64_t kDatasetPageBytes = 128;

// Trial division: the numbers here are below 2^32, so a few thousand divisions at most.
bool IsPrime(std::uint64_t number) {
    if (number < 4) return number >= 2;
    if (number % 2 == 0 || number % 3 == 0) return false;
    for (std::uint64_t divisor = 5; divisor * divisor <= number; divisor += 6) {
        if (number % divisor == 0 || number % (divisor + 2) == 0) return false;
    }
    return true;
}

// The largest size below limit that is a prime number of units. limit is an even number of units.
std::uint64_t PrimeSize(std::uint64_t limit, std::uint64_t unit) {
    std::uint64_t units = limit / unit - 1;
    while (!IsPrime(units))
        units -= 2;
    return units * unit;
}

EthashEpoch Describe(std::uint32_t epoch, std::uint32_t seedIndex) {
    return {.epoch = epoch,
            .seedIndex = seedIndex,
            .cacheBytes = PrimeSize(kCacheStart + kCacheGrowth * epoch, kCacheRowBytes),
            .datasetBytes = PrimeSize(kDatasetStart + kDatasetGrowth * epoch, kDatasetPageBytes)};
}

bool HasLongEpochs(EthashVariant variant, std::uint32_t seedIndex) {
    return variant == EthashVariant::Etchash && seedIndex >= kLongEpochsFromSeed;
}

}  // namespace

EthashEpoch EpochOfBlock(EthashVariant variant, std::uint64_t block) {
    const auto seedIndex = static_cast<std::uint32_t>(block / kEpochBlocks);
    if (!HasLongEpochs(variant, seedIndex)) return Describe(seedIndex, seedIndex);
    const auto epoch = static_cast<std::uint32_t>(block / kLongEpochBlocks);
    return Describe(epoch, 2 * epoch);
}

std::optional<EthashEpoch> EpochOfSeed(EthashVariant variant, const Hash256& seed) {
    Hash256 candidate{};
    std::uint32_t index = 0;
    for (; candidate != seed; ++index) {
        if (index + 1 == kSeedsSearched) return std::nullopt;
        candidate = Keccak256(candidate);
    }
    if (!HasLongEpochs(variant, index)) return Describe(index, index);
    return Describe(index / 2, index - index % 2);
}

Hash256 SeedOfIndex(std::uint32_t seedIndex) {
    Hash256 seed{};
    for (std::uint32_t i = 0; i < seedIndex; ++i)
        seed = Keccak256(seed);
    return seed;
}

EpochAndSeed NextEpoch(EthashVariant variant, const EthashEpoch& epoch, const Hash256& seed) {
    const std::uint64_t nextBlock = (std::uint64_t{epoch.seedIndex} + 1) * kEpochBlocks;
    EpochAndSeed next{EpochOfBlock(variant, nextBlock), seed};
    // Within a long epoch the next step of the seed chain still belongs to it.
    if (next.epoch.epoch == epoch.epoch) next.epoch = EpochOfBlock(variant, nextBlock + kEpochBlocks);
    for (std::uint32_t index = epoch.seedIndex; index < next.epoch.seedIndex; ++index)
        next.seed = Keccak256(next.seed);
    return next;
}
