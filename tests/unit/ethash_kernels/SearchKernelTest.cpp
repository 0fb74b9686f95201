#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <ranges>
#include <set>

#include "HexBytes.h"
#include "SmallEpoch.h"

namespace {

constexpr const char* kHeader = "2a8de2adf89af77358250bf908bf04ba94a6e8c3ba87775564a41d269a05e4ce";

std::uint64_t TopBits(const Hash256& hash) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 8; ++i)
        bits = bits << 8 | hash[i];
    return bits;
}

// A grid's surroundings on the heap, where a write beyond them is noticed.
struct Search {
    std::unique_ptr<EthashSearchResults> results = std::make_unique<EthashSearchResults>();
    std::unique_ptr<EthashSearchProgress> progress = std::make_unique<EthashSearchProgress>();
    std::unique_ptr<unsigned> generation = std::make_unique<unsigned>(7);
    EthashSearchParameters parameters{};

    Search(const CEthashCache& cache, const void* dataset, const Hash256& header) {
        parameters.dataset = dataset;
        parameters.generationWord = generation.get();
        parameters.results = results.get();
        parameters.progress = progress.get();
        std::memcpy(parameters.header, header.data(), header.size());
        parameters.generation = 7;
        parameters.pages = Divisor(cache.Epoch().datasetBytes / 128);
    }

    void Run(const std::string& kernel, std::uint64_t firstNonce, unsigned count, std::uint64_t target, const CTurns& turns,
             const DatasetReadHook& hook = {}) {
        *results = {};
        parameters.firstNonce = firstNonce;
        parameters.nonceCount = count;
        parameters.target = target;
        EmulateKernel(kernel, &parameters, (count + kEthashSearchThreads - 1) / kEthashSearchThreads, kEthashSearchThreads,
                      hook, turns);
        EXPECT_EQ(progress->finishedBlocks, 0u);
        EXPECT_EQ(progress->skippedBlocks, 0u);
    }

    std::multiset<std::uint64_t> Kept() const {
        return {results->nonces, results->nonces + std::min<unsigned>(results->solutionCount, kEthashMaxSolutions)};
    }
};

// A dataset of full size, of which only the pages exist that were read.
class CSparseDataset {
  public:
    explicit CSparseDataset(const CEthashCache& cache) : m_cache(cache), m_filled(cache.Epoch().datasetBytes / 128) {
        m_items = static_cast<EthashItem*>(mmap(nullptr, cache.Epoch().datasetBytes, PROT_READ | PROT_WRITE,
                                                MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        if (m_items == MAP_FAILED) throw std::runtime_error("mmap");
    }
    ~CSparseDataset() { munmap(m_items, m_cache.Epoch().datasetBytes); }
    CSparseDataset(const CSparseDataset&) = delete;
    CSparseDataset& operator=(const CSparseDataset&) = delete;

    const void* Data() const { return m_items; }
    void Fill(const void* address) {
        const auto offset = static_cast<std::size_t>(static_cast<const char*>(address) - reinterpret_cast<char*>(m_items));
        const std::size_t page = offset / 128;
        if (m_filled.at(page)) return;
        m_filled[page] = true;
        const auto first = static_cast<std::uint32_t>(2 * page);
        const std::uint32_t items[] = {first, first + 1};
        DatasetItems(m_cache, items, std::span(m_items + first, 2));
    }

  private:
    const CEthashCache& m_cache;
    EthashItem* m_items;
    std::vector<bool> m_filled;
};

class SearchKernel : public testing::TestWithParam<std::tuple<const char*, std::size_t>> {
  protected:
    static const CEthashCache& Cache() {
        static const auto cache = SmallCache(101, 1009);
        return *cache;
    }
    static const std::vector<EthashItem>& Dataset() {
        static const auto dataset = WholeDataset(Cache());
        return dataset;
    }
    void Run(Search& search, std::uint64_t firstNonce, unsigned count, std::uint64_t target,
             const DatasetReadHook& hook = {}) const {
        search.Run(std::get<0>(GetParam()), firstNonce, count, target, kAllTurns[std::get<1>(GetParam())].second, hook);
    }
};

TEST_P(SearchKernel, FindsThePublishedNonces) {
    struct Case {
        const char* header;
        std::uint64_t nonce;
        std::uint64_t top;
    };
    const Case cases[] = {
        {kHeader, 0x4242424242424242, 0xdd47fd2d98db5107},
        {"100cbec5e5ef82991290d0d93d758f19082e71f234cf479192a8b94df6da6bfe", 0x307692cf71b12f6d, 0xab9b13423cface72},
    };
    static const EthashEpoch epoch = EpochOfBlock(EthashVariant::Ethash, 0);
    static const auto cache = CEthashCache::Make(EthashVariant::Ethash, epoch, SeedOfIndex(0), nullptr);
    static CSparseDataset dataset(*cache);
    for (const Case& each : cases) {
        SCOPED_TRACE(each.header);
        Search search(*cache, dataset.Data(), Bytes<32>(each.header));
        for (const bool found : {true, false}) {
            Run(search, each.nonce - 5, 6, found ? each.top : each.top - 1,
                [](const void* address, std::size_t) { dataset.Fill(address); });
            EXPECT_EQ(search.Kept().count(each.nonce), found ? 1u : 0u);
        }
    }
}

// What a search over count nonces must report when as many hashes as are kept reach its target, the last of them exactly.
struct Expectation {
    std::uint64_t firstNonce;
    unsigned count;
    std::uint64_t target = 0;
    std::multiset<std::uint64_t> nonces{};

    Expectation(const CEthashCache& cache, std::uint64_t first, unsigned nonceCount) : firstNonce(first), count(nonceCount) {
        std::vector<std::uint64_t> all(count);
        std::iota(all.begin(), all.end(), firstNonce);
        std::vector<EthashResult> hashes(count);
        HashimotoBatch(cache, Bytes<32>(kHeader), all, hashes);
        std::map<std::uint64_t, std::uint64_t> nonceOfHash;
        for (std::size_t i = 0; i < count; ++i)
            nonceOfHash[TopBits(hashes[i].final)] = all[i];
        for (const auto& [hash, nonce] : nonceOfHash | std::views::take(int{kEthashMaxSolutions})) {
            target = hash;
            nonces.insert(nonce);
        }
    }
};

TEST_P(SearchKernel, AgreesWithTheHashOfTheCpu) {
    static const Expectation cases[] = {
        {Cache(), 0xfffffff0, 137}, {Cache(), 0xfffffffffffffffd, 33}, {Cache(), 5, 1}, {Cache(), 0x123456789abcdef0, 15}};
    Search search(Cache(), Dataset().data(), Bytes<32>(kHeader));
    for (const Expectation& each : cases) {
        SCOPED_TRACE(each.count);
        Run(search, each.firstNonce, each.count, each.target);
        EXPECT_EQ(search.results->solutionCount, each.nonces.size());
        EXPECT_EQ(search.Kept(), each.nonces);
        EXPECT_EQ(search.results->skippedBlocks, 0u);
    }
}

TEST_P(SearchKernel, CountsSolutionsBeyondThoseKept) {
    Search search(Cache(), Dataset().data(), Bytes<32>(kHeader));
    Run(search, 1000, 45, UINT64_MAX);
    EXPECT_EQ(search.results->solutionCount, 45u);
    const auto kept = search.Kept();
    EXPECT_EQ(std::set(kept.begin(), kept.end()).size(), std::size_t{kEthashMaxSolutions});
    EXPECT_GE(*kept.begin(), 1000u);
    EXPECT_LT(*kept.rbegin(), 1045u);
}

TEST_P(SearchKernel, BlocksOfAnEndedGenerationHashNothing) {
    Search search(Cache(), Dataset().data(), Bytes<32>(kHeader));
    *search.generation = 8;
    Run(search, 0, 500, UINT64_MAX, [](auto...) { FAIL() << "reads the dataset"; });
    EXPECT_EQ(search.results->solutionCount, 0u);
    EXPECT_EQ(search.results->skippedBlocks, 4u);

    *search.generation = 7;
    std::size_t reads = 0;
    constexpr std::size_t kReadsOfFirstBlock = std::size_t{kEthashSearchThreads} * 8 * 64;
    Run(search, 0, 512, UINT64_MAX, [&](auto...) {
        if (++reads > kReadsOfFirstBlock) *search.generation = 8;
    });
    EXPECT_EQ(search.results->solutionCount, 256u);
    EXPECT_EQ(search.results->skippedBlocks, 2u);
}

INSTANTIATE_TEST_SUITE_P(HashesInFlight, SearchKernel,
                         testing::Combine(testing::Values("ethash_search_2", "ethash_search_4", "ethash_search_8"),
                                          testing::Range<std::size_t>(0, std::size(kAllTurns))),
                         [](const auto& each) {
                             return std::string(std::get<0>(each.param)) + "_" + kAllTurns[std::get<1>(each.param)].first;
                         });

}  // namespace
