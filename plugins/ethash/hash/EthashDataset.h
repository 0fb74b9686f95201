#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>
#include "ethash/hash/Ethash.h"
#include "ethash/hash/EthashItems.h"

inline constexpr std::uint32_t kDatasetPartItems = 1024;

// The whole dataset of one epoch in memory, a gigabyte and up: a hash from it takes a small part of the time that one from
// the light cache takes. Any number of threads make it together; when all of them have come back it is complete, never
// changes again and is read by any thread.
class CEthashDataset {
  public:
    // Takes the memory, without making anything of it. Null when cancelled; throws std::bad_alloc.
    static std::shared_ptr<CEthashDataset> Allocate(std::shared_ptr<const CEthashCache> cache,
                                                    const std::atomic<bool>& cancelled);

    // Makes the next part of kDatasetPartItems, in a few milliseconds. False: none was left, but others may still be at
    // theirs.
    bool MakePart();
    std::uint64_t BytesBegun() const;

    const std::shared_ptr<const CEthashCache>& Cache() const { return m_cache; }
    // Two neighbouring items: what one access of a hash reads.
    const EthashItem* Page(std::uint32_t page) const {
        // cppcheck-suppress CastIntegerToAddressAtReturn ; takes the braces for a cast of the whole
        return m_pieces[page / kPiecePages] + std::size_t{page % kPiecePages} * 2;
    }

  private:
    // Memory is taken and given back piece by piece: a single piece would have to be contiguous to get large pages, and
    // clearing all of them takes longer than a stop may.
    static constexpr std::uint32_t kPiecePages = 1u << 17;  // 16 MB

    explicit CEthashDataset(std::shared_ptr<const CEthashCache> cache);

    const std::shared_ptr<const CEthashCache> m_cache;
    const std::uint32_t m_pages;
    std::vector<std::unique_ptr<CHashMemory>> m_memory;
    std::vector<EthashItem*> m_pieces;
    std::atomic<std::uint32_t> m_nextPart{0};
};

// As the form over the light cache, with the same results; the dataset is complete.
bool HashimotoBatch(const CEthashDataset& dataset, const Hash256& header, std::span<const std::uint64_t> nonces,
                    std::span<EthashResult> results, const EthashAbort* abort = nullptr);
