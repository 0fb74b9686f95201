#include "card_bench/CardBench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "card_bench/BenchReport.h"
#include "card_bench/SolutionCount.h"
#include "cards/FakeCudaDriver.h"
#include "ethash/hash/EthashItems.h"
#include "ethash/hash/Keccak.h"

namespace {

using namespace std::chrono_literals;

TEST(SolutionCount, OnlyWhatChanceHardlyBringsIsImplausible) {
    struct Case {
        std::uint64_t found;
        double expected;
        bool plausible;
    };
    // The bounds: tails of the Poisson distribution summed up with 50 digits.
    const Case cases[] = {{0, 100, false},  {55, 100, false},       {56, 100, true},
                          {151, 100, true}, {152, 100, false},      {1ULL << 60, 100, false},
                          {2, 20, false},   {3, 20, true},          {19, 19, false},
                          {0, 0, false},    {1'000'300, 1e6, true}, {1'006'000, 1e6, false}};
    for (const Case& each : cases)
        EXPECT_EQ(IsPlausible(each.found, each.expected), each.plausible) << each.found << " of " << each.expected;
}

enum class Searches { Right, FindNothing, FindWrongOnes, FindEachFiveTimes };

// The bench on a card of this program, whose searches do as a test says.
class CardBench : public testing::Test {
  protected:
    CardBench() : api(*driver.Driver().api) {
        std::vector<std::uint32_t> all(items.size());
        std::iota(all.begin(), all.end(), 0U);
        DatasetItems(*cache, all, items);
        driver.Knows(cache);
        driver.run = [this](std::string_view kernel, const void* parameters, unsigned blocks, unsigned) {
            if (kernel == "ethash_build_dataset") return driver.RunOnCpu(kernel, parameters, blocks);
            if (kernel != "ethash_random_reads") Search(*static_cast<const EthashSearchParameters*>(parameters));
        };
        order.epochs = {cache->Epoch()};
        driver.freeMemory = CCudaDataset::MemoryNeeded(cache->Epoch());
        order.variants = {1};
        order.searchTime = order.warmUpTime = 250ms;
        order.readsTime = 4ms;
    }

    void Search(const EthashSearchParameters& search) const {
        if (searches == Searches::FindNothing || search.generation > 0) return;  // a job's end is no matter here
        for (unsigned i = 0; i < search.nonceCount; ++i) {
            if (TopOfHash(search.header, search.firstNonce + i) > search.target) continue;
            for (int times = searches == Searches::FindEachFiveTimes ? 5 : 1; times > 0; --times) {
                const unsigned slot = search.results->solutionCount++;
                if (slot < kEthashMaxSolutions)
                    search.results->nonces[slot] = search.firstNonce + i + (searches == Searches::FindWrongOnes ? 1 : 0);
            }
        }
    }

    // The hash from items made beforehand, because the light cache takes a thousand times as long.
    std::uint64_t TopOfHash(const unsigned long long* header, std::uint64_t nonce) const {
        std::array<std::uint8_t, 40> begin;
        std::memcpy(begin.data(), header, 32);
        std::memcpy(begin.data() + 32, &nonce, 8);
        const Hash512 seed = Keccak512(begin);
        std::array<std::uint32_t, 32> mix;
        for (std::size_t i = 0; i < 2; ++i)
            std::memcpy(mix.data() + 16 * i, seed.data(), seed.size());
        const std::uint32_t first = mix[0];
        for (std::uint32_t access = 0; access < 64; ++access) {
            const std::size_t page = Mixed(access ^ first, mix[access % 32]) % (items.size() / 2);
            for (std::size_t i = 0; i < 32; ++i)
                mix[i] = Mixed(mix[i], items[2 * page + i / 16].words[i % 16]);
        }
        std::array<std::uint8_t, 96> end;
        std::memcpy(end.data(), seed.data(), seed.size());
        for (std::size_t i = 0; i < 8; ++i) {
            const std::uint32_t word = Mixed(Mixed(Mixed(mix[4 * i], mix[4 * i + 1]), mix[4 * i + 2]), mix[4 * i + 3]);
            std::memcpy(end.data() + 64 + 4 * i, &word, 4);
        }
        return TopOf(Keccak256(end));
    }
    static std::uint32_t Mixed(std::uint32_t a, std::uint32_t b) { return a * 0x01000193 ^ b; }

    const std::shared_ptr<const CEthashCache> cache = CEthashCache::Make(
        EthashVariant::Ethash, {.cacheBytes = 64 * 251, .datasetBytes = 128 * 127}, SeedOfIndex(0), nullptr);
    std::vector<EthashItem> items = std::vector<EthashItem>(254);
    CFakeCudaDriver driver;
    CudaDriverApi api;
    BenchOrder order;
    BenchListener listener{[](const std::string&) {}, [](const CardFigures&) {}};
    Searches searches = Searches::Right;
};

TEST_F(CardBench, OnlyASearchThatFindsWhatIsLikelyAndNothingElseIsSound) {
    for (const Searches each :
         {Searches::Right, Searches::FindNothing, Searches::FindWrongOnes, Searches::FindEachFiveTimes}) {
        searches = each;
        const CardFigures card = MeasureCard(api, 0, order, listener);
        ASSERT_EQ(card.problem, "");
        const SearchFigures& search = card.epochs.at(0).searches.at(0);
        SCOPED_TRACE(std::to_string(search.solutions) + " of " + std::to_string(search.expectedSolutions));
        EXPECT_EQ(search.plausible, each == Searches::Right || each == Searches::FindWrongOnes);
        EXPECT_EQ(search.wrongSolutions > 0, each == Searches::FindWrongOnes);
        EXPECT_EQ(IsSound(card), each == Searches::Right);
    }
}

std::string Contents(std::FILE* file) {
    std::string text(65536, '\0');
    std::rewind(file);
    text.resize(std::fread(text.data(), 1, text.size(), file));
    return text;
}

// However the run is ended: what was measured last stands in the file, in a whole document, and every line of text was
// printed once.
TEST_F(CardBench, FiguresAreOutAsTheyCome) {
    searches = Searches::FindNothing;
    order.searchTime = order.warmUpTime = 5ms;
    order.variants = {0, 2};
    std::FILE* const json = std::tmpfile();
    std::FILE* const text = std::tmpfile();
    std::fputs("before\n", json);
    CBenchOutput output(json, text, true);
    std::vector<std::string> documents;
    listener.measured = [&](const CardFigures& soFar) {
        output.Show({soFar});
        documents.push_back(Contents(json));
    };
    MeasureCard(api, 0, order, listener);
    ASSERT_EQ(documents.size(), 5u);  // the card, its bandwidth, the epoch, two searches
    for (const std::string& each : documents) {
        EXPECT_EQ(each.compare(0, 9, "before\n[\n"), 0) << each;
        EXPECT_EQ(each.substr(each.find_last_not_of(" \n")), "]" + each.substr(each.find_last_of(']') + 1));
        EXPECT_EQ(std::count(each.begin(), each.end(), '{'), std::count(each.begin(), each.end(), '}'));
    }
    EXPECT_EQ(documents[3].find("\"hashesInFlight\": 8"), std::string::npos);
    EXPECT_NE(documents[4].find("\"hashesInFlight\": 8"), std::string::npos);
    const std::string lines = Contents(text);
    for (const char* const once : {"GPU 0: ", "copies", "light cache", "        2 ", "        8 "})
        EXPECT_NE(lines.find(once), std::string::npos) << once << '\n' << lines;
    EXPECT_EQ(lines.find("light cache"), lines.rfind("light cache"));
    std::fclose(json);
    std::fclose(text);
}

}  // namespace
