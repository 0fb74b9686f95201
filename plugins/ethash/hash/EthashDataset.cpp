#include "ethash/hash/EthashDataset.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "ethash/hash/HashimotoWalk.h"

namespace {

constexpr std::uint32_t kPartPages = kDatasetPartItems / 2;  // divides a piece

}  // namespace

CEthashDataset::CEthashDataset(std::shared_ptr<const CEthashCache> cache)
    : m_cache(std::move(cache)), m_pages(PageCount(m_cache->Epoch())) {}

std::shared_ptr<CEthashDataset> CEthashDataset::Allocate(std::shared_ptr<const CEthashCache> cache,
                                                         const std::atomic<bool>& cancelled) {
    std::shared_ptr<CEthashDataset> dataset(new CEthashDataset(std::move(cache)));
    for (std::uint32_t first = 0; first < dataset->m_pages; first += kPiecePages) {
        if (cancelled.load(std::memory_order_relaxed)) return nullptr;
        const std::uint32_t pages = std::min(kPiecePages, dataset->m_pages - first);
        dataset->m_memory.push_back(std::make_unique<CHashMemory>(pages * kPageBytes));
        dataset->m_pieces.push_back(static_cast<EthashItem*>(dataset->m_memory.back()->Data()));
    }
    return dataset;
}

bool CEthashDataset::MakePart() {
    const std::uint32_t parts = (m_pages + kPartPages - 1) / kPartPages;
    if (m_nextPart.load(std::memory_order_relaxed) >= parts) return false;  // asked in vain, it does not count on
    const std::uint32_t part = m_nextPart.fetch_add(1, std::memory_order_relaxed);
    if (part >= parts) return false;
    const std::uint32_t first = part * kPartPages;
    std::uint32_t indices[2 * kPartPages];
    std::iota(std::begin(indices), std::end(indices), 2 * first);
    const std::size_t items = 2 * std::size_t{std::min(kPartPages, m_pages - first)};
    EthashItem* const target = m_pieces[first / kPiecePages] + std::size_t{first % kPiecePages} * 2;
    DatasetItems(*m_cache, std::span(indices, items), {target, items});
    return true;
}

std::uint64_t CEthashDataset::BytesBegun() const {
    return std::min<std::uint64_t>(std::uint64_t{m_nextPart.load(std::memory_order_relaxed)} * kPartPages, m_pages) *
           kPageBytes;
}
