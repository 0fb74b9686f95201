#include <algorithm>
#include <cstring>

#include "ethash/EthashItems.h"
#include "ethash/Fnv.h"
#include "ethash/Keccak.h"

namespace {

constexpr std::size_t kMixWords = 32;
constexpr std::uint32_t kAccesses = 64;
constexpr std::uint64_t kPageBytes = 128;

// The hash of one nonce on its way through the dataset.
struct Walk {
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

    // The first of the two neighbouring items that this access mixes in.
    std::uint32_t ItemIndex(std::uint32_t access, std::uint32_t pages) const {
        return 2 * (Fnv(access ^ firstWord, mix[access % kMixWords]) % pages);
    }

    void Mix(const EthashItem& first, const EthashItem& second) {
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

std::uint32_t PageCount(const CEthashCache& cache) {
    return static_cast<std::uint32_t>(cache.Epoch().datasetBytes / kPageBytes);
}

bool HashGroup(const CEthashCache& cache, const Hash256& header, std::span<const std::uint64_t> nonces,
               EthashResult* results, const EthashAbort* abort) {
    const std::uint32_t pages = PageCount(cache);
    const std::size_t count = nonces.size();
    Walk walks[kBatchNonces];
    std::uint32_t indices[kLockstepItems];
    EthashItem items[kLockstepItems];
    for (std::size_t i = 0; i < count; ++i)
        walks[i].Begin(header, nonces[i]);
    for (std::uint32_t access = 0; access < kAccesses; ++access) {
        if (abort != nullptr && abort->word.load(std::memory_order_relaxed) != abort->expected) return false;
        for (std::size_t i = 0; i < count; ++i) {
            indices[2 * i] = walks[i].ItemIndex(access, pages);
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
    const std::uint32_t pages = PageCount(cache);
    Walk walk;
    walk.Begin(header, nonce);
    for (std::uint32_t access = 0; access < kAccesses; ++access) {
        const std::uint32_t index = walk.ItemIndex(access, pages);
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
