#include "ethash_cuda/CudaDataset.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "ethash/EthashItems.h"

namespace {

constexpr std::uint64_t kItemBytes = 64;
constexpr std::uint64_t kMargin = 64ULL << 20;
constexpr unsigned kItemsPerGrid = 1U << 18;
constexpr unsigned kBuildThreads = 128;

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

bool CCudaDataset::Build(const CEthashCache& cache, const Progress& progress) {
    Drop();
    const CudaDriverApi& api = m_context.Api();
    const EthashEpoch& epoch = cache.Epoch();
    CCudaMemory memory(api, epoch.datasetBytes);
    const CCudaMemory cacheCopy(api, epoch.cacheBytes);
    CheckCuda(api, api.MemcpyHtoD(cacheCopy.Address(), cache.Words().data(), epoch.cacheBytes), "cuMemcpyHtoD");
    std::swap(m_memory, memory);
    if (!MakeItems(cacheCopy.Address(), epoch, progress)) {
        Drop();
        return false;
    }
    m_epoch = epoch;
    m_seed = cache.Seed();
    return true;
}

bool CCudaDataset::MakeItems(CudaAddress cache, const EthashEpoch& epoch, const Progress& progress) {
    CudaFunctionObject* const kernel = m_context.Function("ethash_build_dataset");
    const auto items = static_cast<unsigned>(epoch.datasetBytes / kItemBytes);
    EthashBuildParameters parameters{.cache = DevicePointer(cache),
                                     .dataset = DevicePointer(m_memory.Address()),
                                     .cacheRows = DivisorOf(epoch.cacheBytes / kItemBytes),
                                     .firstItem = 0,
                                     .itemCount = 0};
    for (unsigned done = 0; done < items; done += parameters.itemCount) {
        if (!progress(static_cast<double>(done) / items)) return false;
        parameters.firstItem = done;
        parameters.itemCount = std::min(kItemsPerGrid, items - done);
        const unsigned blocks = (parameters.itemCount + kBuildThreads - 1) / kBuildThreads;
        m_context.Launch(kernel, blocks, kBuildThreads, m_stream.Get(), parameters);
        m_stream.Mark();
        m_stream.WaitForMark();
    }
    return true;
}

unsigned CCudaDataset::CountWrong(const CEthashCache& cache, unsigned items, std::mt19937_64& random) const {
    const auto last = static_cast<std::uint32_t>(m_epoch.datasetBytes / kItemBytes - 1);
    std::uniform_int_distribution<std::uint32_t> any(0, last);
    std::vector<std::uint32_t> indices(items);
    std::generate(indices.begin(), indices.end(), [&] { return any(random); });
    std::vector<EthashItem> right(items);
    DatasetItems(cache, indices, right);
    unsigned wrong = 0;
    for (unsigned i = 0; i < items; ++i) {
        EthashItem made;
        const CudaAddress address = m_memory.Address() + indices[i] * kItemBytes;
        CheckCuda(m_context.Api(), m_context.Api().MemcpyDtoH(&made, address, sizeof made), "cuMemcpyDtoH");
        if (std::memcmp(&made, &right[i], sizeof made) != 0) ++wrong;
    }
    return wrong;
}
