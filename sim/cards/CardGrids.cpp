// What the grids of a simulated card do.
#include <algorithm>
#include <cstring>
#include <span>

#include "cards/FakeCudaDriver.h"

namespace {

constexpr std::uint64_t kItemBytes = sizeof(EthashItem);
constexpr std::uint64_t kPageBytes = 2 * kItemBytes;
constexpr std::string_view kRandomReads = "ethash_random_reads";

CudaAddress AddressOf(const void* pointer) {
    return reinterpret_cast<CudaAddress>(pointer);
}

std::uint64_t FirstWord(const Hash256& number) {
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < sizeof word; ++i)
        word = word << 8 | number[i];
    return word;
}

}  // namespace

std::vector<CardUse> CFakeCudaDriver::UsesOf(std::string_view kernel, const void* parameters, unsigned blocks) const {
    const std::string what(kernel);
    const auto use = [&](const void* begin, std::uint64_t bytes, bool writes) {
        return CardUse{AddressOf(begin), bytes, writes, true, {}, what};
    };
    if (kernel == "ethash_build_dataset") {
        const auto& build = *static_cast<const EthashBuildParameters*>(parameters);
        return {use(build.cache, build.cacheRows.value * kItemBytes, false),
                use(static_cast<char*>(build.dataset) + build.firstItem * kItemBytes, build.itemCount * kItemBytes, true)};
    }
    if (kernel == kRandomReads) {
        const auto& reads = *static_cast<const EthashReadsParameters*>(parameters);
        return {use(reads.dataset, reads.pages.value * kPageBytes, false),
                use(reads.sums, std::uint64_t{blocks} * kEthashSearchThreads * sizeof *reads.sums, true)};
    }
    const auto& search = *static_cast<const EthashSearchParameters*>(parameters);
    return {use(search.dataset, search.pages.value * kPageBytes, false), use(search.results, sizeof *search.results, true),
            use(search.progress, sizeof *search.progress, true)};
}

CudaResult CFakeCudaDriver::Launch(std::string_view kernel, const void* parameters, unsigned blocks, unsigned threads,
                                   CudaStreamObject* stream) {
    const StreamPointer found = Find(stream);
    if (found == nullptr) return 400;
    if (!found->AreGridsKnown()) ++m_behindOthers;
    const bool builds = kernel == "ethash_build_dataset";
    for (CardUse& use : UsesOf(kernel, parameters, blocks)) {
        use.point = Next(found);
        if (!IsDead() && !m_memory.Use(std::move(use))) return Die(700);
    }
    if (!builds && kernel != kRandomReads) {
        const std::lock_guard lock(m_lock);
        m_searchStreams.insert(found);
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(parameters);
    const std::size_t size = builds                   ? sizeof(EthashBuildParameters)
                             : kernel == kRandomReads ? sizeof(EthashReadsParameters)
                                                      : sizeof(EthashSearchParameters);
    const std::vector<std::uint8_t> copy(bytes, bytes + size);
    QueueOn(found, true, {}, [this, kernel, copy, blocks, threads] { RunGrid(kernel, copy.data(), blocks, threads); });
    return 0;
}

void CFakeCudaDriver::RunGrid(std::string_view kernel, const void* parameters, unsigned blocks, unsigned threads) {
    const unsigned running = ++m_running;
    for (unsigned seen = m_largestOverlap; seen < running && !m_largestOverlap.compare_exchange_weak(seen, running);) {
    }
    if (run) {
        run(kernel, parameters, blocks, threads);
    } else {
        RunOnCpu(kernel, parameters, blocks);
    }
    --m_running;
}

void CFakeCudaDriver::RunOnCpu(std::string_view kernel, const void* parameters, unsigned blocks) {
    if (kernel == "ethash_build_dataset") {
        Build(*static_cast<const EthashBuildParameters*>(parameters));
    } else if (kernel != kRandomReads) {  // what it would read is not read: there is no memory to measure
        Search(*static_cast<const EthashSearchParameters*>(parameters), blocks);
    }
}

void CFakeCudaDriver::Build(const EthashBuildParameters& build) {
    const std::int64_t item = spoiledRegion;
    bool spoiled = item >= build.firstItem && item < std::int64_t{build.firstItem} + build.itemCount;
    if (spoiled) spoiledRegion = -1;
    if (spoiledBuilds > 0) {
        spoiled = true;
        --spoiledBuilds;
    }
    std::vector<std::shared_ptr<const CEthashCache>> caches;
    {
        const std::lock_guard lock(m_lock);
        caches = m_caches;
    }
    m_memory.MakeItems(build, spoiled, caches);
}

void CFakeCudaDriver::Search(const EthashSearchParameters& search, unsigned blocks) {
    const auto cache = m_memory.CacheOf(AddressOf(search.dataset), search.pages.value * kPageBytes);
    EthashSearchProgress progress{};
    m_memory.Read(&progress, AddressOf(search.progress), sizeof progress);
    if (progress.finishedBlocks != 0 || progress.skippedBlocks != 0)
        m_faults.Add("a grid begins with a progress above zero");
    if (cache == nullptr) return;
    Hash256 header;
    std::memcpy(header.data(), search.header, header.size());
    std::vector<std::uint64_t> solutions;
    unsigned skipped = 0;
    for (unsigned block = 0; block < blocks; ++block) {
        if (std::atomic_ref(const_cast<unsigned&>(*search.generationWord)).load() != search.generation) {
            ++skipped;
            continue;
        }
        std::vector<std::uint64_t> nonces;
        const unsigned first = block * kEthashSearchThreads;
        for (unsigned i = first; i < std::min(search.nonceCount, first + kEthashSearchThreads); ++i)
            nonces.push_back(search.firstNonce + i);
        std::vector<EthashResult> hashes(nonces.size());
        HashimotoBatch(*cache, header, nonces, hashes);
        for (std::size_t i = 0; i < nonces.size(); ++i) {
            if ((FirstWord(hashes[i].final) <= search.target) != wrongSolutions) solutions.push_back(nonces[i]);
        }
    }
    EthashSearchResults& results = *search.results;
    for (std::size_t i = 0; i < solutions.size(); ++i) {
        if (results.solutionCount < kEthashMaxSolutions) results.nonces[results.solutionCount] = solutions[i];
        ++results.solutionCount;
    }
    results.skippedBlocks = skipped;
}
