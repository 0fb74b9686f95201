#include "ethash/cuda/CudaSearch.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <utility>

namespace {

template <class Object>
Object* DevicePointer(CudaAddress address) {
    return reinterpret_cast<Object*>(static_cast<std::uintptr_t>(address));
}

unsigned BlocksFor(unsigned nonces) {
    return (nonces + kEthashSearchThreads - 1) / kEthashSearchThreads;
}

}  // namespace

std::uint64_t TopOf(const Hash256& number) {
    std::uint64_t top = 0;
    for (std::size_t i = 0; i < sizeof top; ++i)
        top = top << 8 | number[i];
    return top;
}

CCudaSearch::Slot::Slot(const CCudaContext& context)
    : results(context.Api()), progress(context.Api(), sizeof(EthashSearchProgress)), stream(context) {
    const CudaDriverApi& api = context.Api();
    CheckCuda(api, api.MemsetD8Async(progress.Address(), 0, sizeof(EthashSearchProgress), stream.Get()), "cuMemsetD8Async");
}

CCudaSearch::CCudaSearch(const CCudaContext& context) : m_context(context), m_generation(context.Api()) {
    for (std::size_t i = 0; i < m_kernels.size(); ++i)
        m_kernels[i] = context.Function(("ethash_search_" + std::to_string(kSearchVariants[i])).c_str());
    for (auto& slot : m_slots)
        slot.emplace(context);
}

void CCudaSearch::Launch(std::size_t slot, const CCudaDataset& dataset, const SearchOrder& order) {
    Slot& own = *m_slots[slot];
    EthashSearchResults& results = own.results.Host();
    results.solutionCount = 0;
    results.skippedBlocks = 0;
    EthashSearchParameters parameters{};
    parameters.dataset = DevicePointer<const void>(dataset.Address());
    parameters.generationWord = DevicePointer<const volatile unsigned>(m_generation.Address());
    parameters.results = DevicePointer<EthashSearchResults>(own.results.Address());
    parameters.progress = DevicePointer<EthashSearchProgress>(own.progress.Address());
    std::memcpy(parameters.header, order.header.data(), sizeof parameters.header);
    parameters.target = TopOf(order.target);
    parameters.firstNonce = order.nonces.first;
    parameters.nonceCount = order.nonces.count;
    parameters.generation = order.generation;
    constexpr std::uint64_t kPageBytes = 128;
    parameters.pages = DivisorOf(dataset.Epoch().datasetBytes / kPageBytes);
    m_context.Launch(m_kernels[order.variant], BlocksFor(order.nonces.count), kEthashSearchThreads, own.stream.Get(),
                     parameters);
    own.stream.Mark();
    own.ordered = order.nonces.count;
}

SearchOutcome CCudaSearch::Wait(std::size_t slot) {
    Slot& own = *m_slots[slot];
    const unsigned ordered = std::exchange(own.ordered, 0);
    own.stream.WaitForMark();
    std::atomic_thread_fence(std::memory_order_acquire);
    const EthashSearchResults& results = own.results.Host();
    const std::uint64_t skipped = std::uint64_t{results.skippedBlocks} * kEthashSearchThreads;
    const unsigned kept = std::min<unsigned>(results.solutionCount, kEthashMaxSolutions);
    SearchOutcome outcome;
    outcome.stopped = skipped > 0;
    outcome.hashes = ordered - std::min<std::uint64_t>(skipped, ordered);
    outcome.nonces.assign(results.nonces, results.nonces + kept);
    outcome.lost = results.solutionCount - kept;
    return outcome;
}
