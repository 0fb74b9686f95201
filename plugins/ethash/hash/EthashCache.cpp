#include <cstring>

#include "ethash/hash/Blake2b.h"
#include "ethash/hash/Ethash.h"
#include "ethash/hash/ItemLockstep.h"
#include "ethash/hash/Keccak.h"

namespace {

constexpr std::size_t kRowWords = 16;
constexpr std::size_t kRowBytes = 64;
constexpr int kRounds = 3;
constexpr std::uint32_t kUbqhashBlakeFromEpoch = 22;
constexpr std::size_t kRowsBetweenLooks = 1024;  // under a millisecond

// The 64-byte hash that the cache is made with, in place.
void HashRow(std::uint32_t* row, bool blake) {
    if (!blake) {
        Keccak512InPlace(row);
        return;
    }
    std::uint8_t bytes[kRowBytes];
    std::memcpy(bytes, row, kRowBytes);
    std::memcpy(row, Blake2b512(bytes).data(), kRowBytes);
}

}  // namespace

CEthashCache::CEthashCache(const EthashEpoch& epoch, const Hash256& seed)
    : m_epoch(epoch), m_seed(seed), m_memory(epoch.cacheBytes), m_words(static_cast<std::uint32_t*>(m_memory.Data())) {}

std::shared_ptr<const CEthashCache> CEthashCache::Make(EthashVariant variant, const EthashEpoch& epoch, const Hash256& seed,
                                                       const std::atomic<bool>* cancelled) {
    const std::shared_ptr<CEthashCache> cache(new CEthashCache(epoch, seed));
    const bool blake = variant == EthashVariant::Ubqhash && epoch.epoch >= kUbqhashBlakeFromEpoch;
    if (!cache->Fill(blake, cancelled)) return nullptr;
    return cache;
}

std::shared_ptr<const CEthashCache> CEthashCache::FromWords(const EthashEpoch& epoch, const Hash256& seed,
                                                            std::span<const std::uint32_t> words) {
    const std::shared_ptr<CEthashCache> cache(new CEthashCache(epoch, seed));
    std::memcpy(cache->m_words, words.data(), epoch.cacheBytes);
    return cache;
}

bool CEthashCache::Fill(bool blake, const std::atomic<bool>* cancelled) {
    const std::size_t rows = m_epoch.cacheBytes / kRowBytes;
    const auto giveUp = [&](std::size_t row) {
        return row % kRowsBetweenLooks == 0 && cancelled != nullptr && cancelled->load(std::memory_order_relaxed);
    };
    const auto rowAt = [this](std::size_t row) { return m_words + row * kRowWords; };

    const Hash512 first = blake ? Blake2b512(m_seed) : Keccak512(m_seed);
    std::memcpy(rowAt(0), first.data(), kRowBytes);
    for (std::size_t row = 1; row < rows; ++row) {
        if (giveUp(row)) return false;
        std::memcpy(rowAt(row), rowAt(row - 1), kRowBytes);
        HashRow(rowAt(row), blake);
    }
    // The row that goes into another is told by that one's old content: it can be fetched while the row before is made.
    const CFastRemainder remainder(static_cast<std::uint32_t>(rows));
    const auto otherOf = [&](std::size_t row) { return rowAt(remainder(rowAt(row)[0])); };
    for (std::size_t step = 0; step < kRounds * rows; ++step) {
        if (giveUp(step)) return false;
        const std::size_t row = step % rows;
        __builtin_prefetch(otherOf(row + 1 == rows ? 0 : row + 1));
        std::uint32_t* target = rowAt(row);
        const std::uint32_t* previous = rowAt(row == 0 ? rows - 1 : row - 1);
        const std::uint32_t* other = otherOf(row);
        for (std::size_t word = 0; word < kRowWords; ++word)
            target[word] = previous[word] ^ other[word];
        HashRow(target, blake);
    }
    return true;
}

const EthashEpoch& CEthashCache::Epoch() const {
    return m_epoch;
}

const Hash256& CEthashCache::Seed() const {
    return m_seed;
}

std::span<const std::uint32_t> CEthashCache::Words() const {
    return {m_words, m_epoch.cacheBytes / sizeof(std::uint32_t)};
}
