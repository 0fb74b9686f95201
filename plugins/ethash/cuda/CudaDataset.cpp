#include "ethash/cuda/CudaDataset.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "ethash/hash/EthashItems.h"

namespace {

constexpr std::uint64_t kItemBytes = 64;
constexpr std::uint64_t kMargin = 64ULL << 20;
constexpr unsigned kBuildThreads = 128;
constexpr unsigned kSampled = 4;  // at random, of each grid
constexpr unsigned kDenseStep = 32;
constexpr std::uint64_t kItemsPerCall = 1000;

void* DevicePointer(CudaAddress address) {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(address));
}

}  // namespace

EthashDivisor DivisorOf(std::uint64_t value) {
    return {static_cast<unsigned>(value), static_cast<unsigned>((std::uint64_t{1} << 32) / value)};
}

std::uint64_t CCudaDataset::MemoryNeeded(const EthashEpoch& epoch) {
    return epoch.datasetBytes + epoch.cacheBytes + kMargin;
}

void CCudaDataset::Drop() {
    m_memory = CCudaMemory();
}

unsigned CCudaDataset::Items() const {
    return static_cast<unsigned>(m_epoch.datasetBytes / kItemBytes);
}

unsigned CCudaDataset::Grids() const {
    return (Items() + m_itemsPerGrid - 1) / m_itemsPerGrid;
}

unsigned CCudaDataset::ItemsOf(unsigned grid) const {
    return std::min(m_itemsPerGrid, Items() - grid * m_itemsPerGrid);
}

bool CCudaDataset::Build(const CEthashCache& cache, const Progress& progress) {
    Drop();
    m_epoch = cache.Epoch();
    m_memory = CCudaMemory(m_context->Api(), m_epoch.datasetBytes);
    std::vector<unsigned> all(Grids());
    std::iota(all.begin(), all.end(), 0U);
    try {
        return Rebuild(cache, all, progress);
    } catch (...) {
        Drop();
        throw;
    }
}

// A copy from pageable memory may return before the card has the data, and only the stream that it was queued in waits for
// it.
bool CCudaDataset::Rebuild(const CEthashCache& cache, std::span<const unsigned> grids, const Progress& progress) {
    const CudaDriverApi& api = m_context->Api();
    CudaFunctionObject* const kernel = m_context->Function("ethash_build_dataset");
    const CCudaMemory cacheCopy(api, m_epoch.cacheBytes);
    CCudaStream stream(*m_context);
    const CudaResult copied =
        api.MemcpyHtoDAsync(cacheCopy.Address(), cache.Words().data(), m_epoch.cacheBytes, stream.Get());
    CheckCuda(api, copied, "cuMemcpyHtoDAsync");
    for (std::size_t i = 0; i < grids.size(); ++i) {
        if (!progress(static_cast<double>(i) / static_cast<double>(grids.size()))) {
            Drop();
            return false;
        }
        const EthashBuildParameters parameters{.cache = DevicePointer(cacheCopy.Address()),
                                               .dataset = DevicePointer(m_memory.Address()),
                                               .cacheRows = DivisorOf(m_epoch.cacheBytes / kItemBytes),
                                               .firstItem = grids[i] * m_itemsPerGrid,
                                               .itemCount = ItemsOf(grids[i])};
        const unsigned blocks = (parameters.itemCount + kBuildThreads - 1) / kBuildThreads;
        m_context->Launch(kernel, blocks, kBuildThreads, stream.Get(), parameters);
        stream.Mark();
        stream.WaitForMark();
    }
    return true;
}

// ---- The check -----------------------------------------------------------------------------------------------------------

std::vector<unsigned> CCudaDataset::WrongGrids(const CEthashCache& cache, std::mt19937_64& random) const {
    std::vector<unsigned> wrong;
    for (unsigned grid = 0; grid < Grids(); ++grid) {
        if (CountWrong(cache, Samples(grid, random)) != 0) wrong.push_back(grid);
    }
    return wrong;
}

std::vector<std::uint32_t> CCudaDataset::Samples(unsigned grid, std::mt19937_64& random) const {
    const std::uint32_t first = grid * m_itemsPerGrid;
    const std::uint32_t last = first + ItemsOf(grid) - 1;
    std::uniform_int_distribution<std::uint32_t> any(first, last);
    std::vector<std::uint32_t> indices{first, last};
    for (unsigned i = 0; i < kSampled; ++i)
        indices.push_back(any(random));
    if (grid == 0) {
        for (std::uint32_t index = kDenseStep - 1; index < last; index += kDenseStep)
            indices.push_back(index);
    }
    return indices;
}

unsigned CCudaDataset::CountWrong(const CEthashCache& cache, unsigned items, std::mt19937_64& random) const {
    std::uniform_int_distribution<std::uint32_t> any(0, Items() - 1);
    std::vector<std::uint32_t> indices(items);
    std::generate(indices.begin(), indices.end(), [&] { return any(random); });
    return CountWrong(cache, indices);
}

unsigned CCudaDataset::CountWrong(const CEthashCache& cache, std::span<const std::uint32_t> indices) const {
    std::vector<EthashItem> right(indices.size());
    DatasetItems(cache, indices, right);
    const auto [low, high] = std::minmax_element(indices.begin(), indices.end());
    // A call costs as much as the copying of some hundred kilobytes: many items close together are read as one range.
    const bool asRange = indices.size() * kItemsPerCall > *high - *low;
    std::vector<EthashItem> range(asRange ? *high - *low + 1 : 1);
    if (asRange) Read(*low, range);
    unsigned wrong = 0;
    for (std::size_t i = 0; i < indices.size(); ++i) {
        if (!asRange) Read(indices[i], range);
        const EthashItem& made = range[asRange ? indices[i] - *low : 0];
        if (std::memcmp(&made, &right[i], sizeof made) != 0) ++wrong;
    }
    return wrong;
}

void CCudaDataset::Read(std::uint32_t first, std::span<EthashItem> items) const {
    const CudaAddress address = m_memory.Address() + first * kItemBytes;
    CheckCuda(m_context->Api(), m_context->Api().MemcpyDtoH(items.data(), address, items.size_bytes()), "cuMemcpyDtoH");
}
