#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "HexBytes.h"
#include "ethash/hash/Blake2b.h"
#include "ethash/hash/Ethash.h"
#include "ethash/hash/EthashItems.h"
#include "ethash/hash/Keccak.h"

namespace {

std::span<const std::uint8_t> Text(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::shared_ptr<const CEthashCache> MakeCache(EthashVariant variant, std::uint64_t block) {
    const EthashEpoch epoch = EpochOfBlock(variant, block);
    return CEthashCache::Make(variant, epoch, SeedOfIndex(epoch.seedIndex), nullptr);
}

const CEthashCache& FirstCache() {
    static const auto cache = MakeCache(EthashVariant::Ethash, 0);
    return *cache;
}

TEST(Hash, Blake2b) {
    EXPECT_EQ(Digits(Blake2b512({})),
              "786a02f742015903c6c6fd852552d272912f4740e15847618a86e217f71f5419"
              "d25e1031afee585313896444934eb04b903a685b1448b755d56f701afe9be2ce");
    EXPECT_EQ(Digits(Blake2b512(Text("abc"))),
              "ba80a53f981c4d0d6a2797b69f12f6e94c212f14685ac4b74b12bb6fdbffa2d1"
              "7d87c5392aab792dc252d5de4533cc9518d38aa8dbf1925ab92386edd4009923");
}

// A whole number of blocks is where padding goes wrong: against what the reference implementations print.
TEST(Hash, LongAndBlockSizedInputs) {
    EXPECT_EQ(Digits(Keccak256(std::vector<std::uint8_t>(136))),
              "3a5912a7c5faa06ee4fe906253e339467a9ce87d533c65be3c15cb231cdb25f9");
    std::vector<std::uint8_t> counting(256);
    for (std::size_t i = 0; i < counting.size(); ++i)
        counting[i] = static_cast<std::uint8_t>(i);
    EXPECT_EQ(Digits(Blake2b512(std::span(counting).first(128))),
              "2319e3789c47e2daa5fe807f61bec2a1a6537fa03f19ff32e87eecbfd64b7e0e"
              "8ccff439ac333b040f19b0c4ddd11a61e24ac1fe0f10a039806c5dcc0da3d115");
}

TEST(Ethash, PublishedHashes) {
    struct Case {
        std::uint64_t block;
        const char* header;
        std::uint64_t nonce;
        const char* mix;  // null: not published
        const char* final;
    };
    const Case cases[] = {
        {0, "2a8de2adf89af77358250bf908bf04ba94a6e8c3ba87775564a41d269a05e4ce", 0x4242424242424242,
         "58f759ede17a706c93f13030328bcea40c1d1341fb26f2facd21ceb0dae57017",
         "dd47fd2d98db51078356852d7c4014e6a5d6c387c35f40e2875b74a256ed7906"},
        {2, "100cbec5e5ef82991290d0d93d758f19082e71f234cf479192a8b94df6da6bfe", 0x307692cf71b12f6d,
         "e55d02c555a7969361cf74a9ec6211d8c14e4517930a00442f171bdb1698d175",
         "ab9b13423cface72cbec8424221651bc2e384ef0f7a560e038fc68c8d8684829"},
        {50 * 30'000, "fc12eb20c58158071c956316cdcd12a22dd8bf126ac4aee559f0ffe4df11f279", 0xa2eea0cfae7df760, nullptr,
         "000000008967835bc523bf58c952df82be871ba937996c86b9419bcc967028a0"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.block);
        const auto cache = MakeCache(EthashVariant::Ethash, each.block);
        const EthashResult result = Hashimoto(*cache, Bytes<32>(each.header), each.nonce);
        if (each.mix != nullptr) {
            EXPECT_EQ(Digits(result.mix), each.mix);
        }
        EXPECT_EQ(Digits(result.final), each.final);
    }
}

TEST(Ethash, SizesOfTheEpochs) {
    struct Case {
        std::uint32_t epoch;
        std::uint64_t cache, dataset;
    };
    const Case cases[] = {{0, 16776896, 1073739904},
                          {1, 16907456, 1082130304},
                          {2, 17039296, 1090514816},
                          {4, 17301056, 1107293056},
                          {2047, 285081536, 18245220736}};
    for (const Case& each : cases) {
        const EthashEpoch epoch = EpochOfBlock(EthashVariant::Ethash, std::uint64_t{each.epoch} * 30'000 + 29'999);
        EXPECT_EQ(epoch.epoch, each.epoch);
        EXPECT_EQ(epoch.cacheBytes, each.cache);
        EXPECT_EQ(epoch.datasetBytes, each.dataset);
    }
}

TEST(Ethash, EpochsOfBlocks) {
    struct Case {
        EthashVariant variant;
        std::uint64_t block;
        std::uint32_t epoch, seedIndex;
    };
    const Case cases[] = {{EthashVariant::Ethash, 29'999, 0, 0},          {EthashVariant::Ethash, 30'000, 1, 1},
                          {EthashVariant::Ethash, 11'700'000, 390, 390},  {EthashVariant::Etchash, 11'699'999, 389, 389},
                          {EthashVariant::Etchash, 11'700'000, 195, 390}, {EthashVariant::Etchash, 11'759'999, 195, 390},
                          {EthashVariant::Etchash, 11'760'000, 196, 392}, {EthashVariant::Ubqhash, 11'760'000, 392, 392}};
    for (const Case& each : cases) {
        SCOPED_TRACE(each.block);
        const EthashEpoch epoch = EpochOfBlock(each.variant, each.block);
        EXPECT_EQ(epoch.epoch, each.epoch);
        EXPECT_EQ(epoch.seedIndex, each.seedIndex);
        const auto found = EpochOfSeed(each.variant, SeedOfIndex(each.seedIndex));
        ASSERT_TRUE(found);
        EXPECT_EQ(found->epoch, each.epoch);
        EXPECT_EQ(found->seedIndex, each.seedIndex);
        EXPECT_EQ(found->datasetBytes, epoch.datasetBytes);
    }
}

TEST(EthashEpochs, TheNextOneIsThatOfTheBlocksThatFollow) {
    const struct {
        EthashVariant variant;
        std::uint64_t block, nextBlock;
    } cases[] = {{EthashVariant::Ethash, 0, 30'000},
                 {EthashVariant::Ethash, 11'729'999, 11'730'000},
                 {EthashVariant::Etchash, 11'699'999, 11'700'000},
                 {EthashVariant::Etchash, 11'700'000, 11'760'000},
                 {EthashVariant::Etchash, 20'000'000, 20'040'000}};
    for (const auto& each : cases) {
        const EthashEpoch epoch = EpochOfBlock(each.variant, each.block);
        const EthashEpoch expected = EpochOfBlock(each.variant, each.nextBlock);
        const EpochAndSeed next = NextEpoch(each.variant, epoch, SeedOfIndex(epoch.seedIndex));
        EXPECT_EQ(next.epoch.epoch, expected.epoch) << each.block;
        EXPECT_EQ(next.epoch.seedIndex, expected.seedIndex) << each.block;
        EXPECT_EQ(next.epoch.datasetBytes, expected.datasetBytes) << each.block;
        EXPECT_EQ(next.seed, SeedOfIndex(expected.seedIndex)) << each.block;
    }
}

TEST(Ethash, SeedsThatBelongToNoEpoch) {
    EXPECT_EQ(Digits(SeedOfIndex(50)), "abad8f99f3918bf903c6a909d9bbc0fdfa5a2f4b9cb1196175ec825c6610126c");
    EXPECT_TRUE(EpochOfSeed(EthashVariant::Ethash, SeedOfIndex(2047)));
    EXPECT_FALSE(EpochOfSeed(EthashVariant::Ethash, SeedOfIndex(2048)));
    EXPECT_TRUE(EpochOfSeed(EthashVariant::Etchash, SeedOfIndex(389)));
    // Both seeds of a long epoch name it; its cache is made from the first.
    for (const std::uint32_t index : {390u, 391u}) {
        EXPECT_EQ(EpochOfSeed(EthashVariant::Etchash, SeedOfIndex(index))->epoch, 195u);
        EXPECT_EQ(EpochOfSeed(EthashVariant::Etchash, SeedOfIndex(index))->seedIndex, 390u);
    }
    EXPECT_TRUE(EpochOfSeed(EthashVariant::Ethash, SeedOfIndex(391)));
    Hash256 unknown = SeedOfIndex(3);
    unknown[31] ^= 1;
    EXPECT_FALSE(EpochOfSeed(EthashVariant::Ubqhash, unknown));
}

// A few rows are enough to see with which hash the cache is made.
TEST(Ethash, UbqhashChangesItsCacheAtEpoch22) {
    const auto words = [](EthashVariant variant, std::uint32_t epoch) {
        const EthashEpoch small{.epoch = epoch, .seedIndex = epoch, .cacheBytes = 64 * 101, .datasetBytes = 128 * 10007};
        const auto cache = CEthashCache::Make(variant, small, SeedOfIndex(epoch), nullptr);
        return std::vector<std::uint32_t>(cache->Words().begin(), cache->Words().end());
    };
    EXPECT_EQ(words(EthashVariant::Ubqhash, 21), words(EthashVariant::Ethash, 21));
    EXPECT_NE(words(EthashVariant::Ubqhash, 22), words(EthashVariant::Ethash, 22));
    EXPECT_EQ(words(EthashVariant::Etchash, 22), words(EthashVariant::Ethash, 22));
}

TEST(Ethash, ACancelledCacheIsNull) {
    const std::atomic<bool> cancelled{true};
    const EthashEpoch epoch = EpochOfBlock(EthashVariant::Ethash, 0);
    EXPECT_EQ(CEthashCache::Make(EthashVariant::Ethash, epoch, SeedOfIndex(0), &cancelled), nullptr);
}

TEST(Ethash, ItemsInLockstepEqualItemsOneByOne) {
    std::mt19937 random(7);
    const auto items = static_cast<std::uint32_t>(FirstCache().Epoch().datasetBytes / 64);
    std::vector<std::uint32_t> indices(2 * kLockstepItems + 3);
    for (auto& index : indices)
        index = static_cast<std::uint32_t>(random()) % items;
    indices.front() = 0;
    indices.back() = items - 1;
    std::vector<EthashItem> found(indices.size());
    std::vector<EthashItem> baseline(kLockstepItems);
    DatasetItems(FirstCache(), indices, found);
    DatasetItemsBaseline(FirstCache(), std::span(indices).first(kLockstepItems), baseline.data());
    for (std::size_t i = 0; i < indices.size(); ++i) {
        const EthashItem expected = DatasetItem(FirstCache(), indices[i]);
        EXPECT_TRUE(std::ranges::equal(found[i].words, expected.words)) << i;
        if (i < baseline.size()) {
            EXPECT_TRUE(std::ranges::equal(baseline[i].words, expected.words)) << i;
        }
    }
}

TEST(Ethash, BatchEqualsSingleHashes) {
    std::mt19937_64 random(11);
    const Hash256 header = Bytes<32>("2a8de2adf89af77358250bf908bf04ba94a6e8c3ba87775564a41d269a05e4ce");
    std::vector<std::uint64_t> nonces(64);
    for (auto& nonce : nonces)
        nonce = random();
    std::vector<EthashResult> results(nonces.size());
    ASSERT_TRUE(HashimotoBatch(FirstCache(), header, nonces, results));
    for (std::size_t i = 0; i < nonces.size(); ++i) {
        const EthashResult single = Hashimoto(FirstCache(), header, nonces[i]);
        EXPECT_EQ(results[i].mix, single.mix);
        EXPECT_EQ(results[i].final, single.final);
    }
}

TEST(Ethash, ABatchStopsWhenItsWordChanges) {
    const std::vector<std::uint64_t> nonces(1);
    std::vector<EthashResult> results(1);
    std::atomic<std::uint64_t> word{5};
    const EthashAbort abort{word, 5};
    EXPECT_TRUE(HashimotoBatch(FirstCache(), {}, nonces, results, &abort));
    word = 6;
    EXPECT_FALSE(HashimotoBatch(FirstCache(), {}, nonces, results, &abort));
}

}  // namespace
