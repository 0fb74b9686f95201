#include <gtest/gtest.h>

#include <span>
#include <thread>
#include <vector>

#include "FakeHost.h"
#include "HexBytes.h"
#include "Shares.h"
#include "WorkBlocks.h"
#include "ethash/cpu/CpuWorker.h"
#include "ethash/cpu/DatasetStore.h"

namespace {

using namespace std::chrono_literals;

// Epochs whose datasets are made in a moment, or in many.
SharedCache CacheOf(std::uint32_t epoch, std::uint64_t pages = 10007) {
    return CEthashCache::Make(EthashVariant::Ethash, {epoch, epoch, 64 * 1009, 128 * pages}, SeedOfIndex(epoch), nullptr);
}
constexpr std::uint64_t kManyPages = 10'000'019;  // more than a minute under the sanitizers

constexpr std::uint64_t kGigabyte = std::uint64_t{1} << 30;

// Longer than a piece of memory and no multiple of a part: every page is where the hash looks for it.
TEST(Dataset, HashesAsTheLightCacheDoes) {
    const SharedCache cache = CacheOf(0, (1 << 17) + 12347);
    const std::atomic<bool> never{false};
    const auto dataset = CEthashDataset::Allocate(cache, never);
    {
        std::vector<std::jthread> makers;
        for (int i = 0; i < 3; ++i)
            makers.emplace_back([&] {
                while (dataset->MakePart()) {
                }
            });
    }
    EXPECT_EQ(dataset->BytesBegun(), cache->Epoch().datasetBytes);
    const Hash256 header{1, 2, 3};
    std::vector<std::uint64_t> nonces(2 * kBatchNonces + 5);
    for (std::size_t i = 0; i < nonces.size(); ++i)
        nonces[i] = i * 0x9e3779b97f4a7c15;
    std::vector<EthashResult> results(nonces.size());
    std::atomic<std::uint64_t> word{5};
    const EthashAbort abort{word, 5};
    ASSERT_TRUE(HashimotoBatch(*dataset, header, nonces, results, &abort));
    for (std::size_t i = 0; i < nonces.size(); ++i) {
        const EthashResult light = Hashimoto(*cache, header, nonces[i]);
        EXPECT_EQ(results[i].mix, light.mix);
        EXPECT_EQ(results[i].final, light.final);
    }
    word = 6;
    EXPECT_FALSE(HashimotoBatch(*dataset, header, nonces, results, &abort));
    const std::atomic<bool> cancelled{true};
    EXPECT_EQ(CEthashDataset::Allocate(cache, cancelled), nullptr);
}

TEST(Dataset, RoomIsWhatLeavesTheMarginFree) {
    const EthashEpoch epoch{.epoch = 7, .seedIndex = 7, .cacheBytes = 0, .datasetBytes = 4 * kGigabyte};
    const struct {
        std::uint64_t total, free;
        bool room;
    } cases[] = {{64, 7, true}, {64, 6, false}, {6, 6, true}, {4, 4, false}, {0, 0, false}};
    for (const auto& each : cases)
        EXPECT_EQ(!WhyNoRoom(epoch, {each.total * kGigabyte, each.free * kGigabyte}), each.room) << each.free;
    EXPECT_EQ(WhyNoRoom(epoch, {8 * kGigabyte, 5 * kGigabyte}),
              "the dataset of epoch 7 has no room in memory: it takes 4096 MB, 5120 MB of 8192 MB are free and 2048 MB are "
              "left to others");
}

TEST(Dataset, AFeePeriodDoesNotSettleAWorker) {
    const SharedCache mine = CacheOf(0), fee = CacheOf(1), mineAgain = CacheOf(0);
    const DatasetRules rules;
    const CSettledEpoch::Time begun{};
    CSettledEpoch epoch;
    const auto settlesAt = [&](std::chrono::seconds at) { return epoch.Update(rules, begun + at); };
    EXPECT_FALSE(epoch.Due(rules));
    epoch.Hashes(mine, begun);
    EXPECT_FALSE(settlesAt(29s));
    epoch.Hashes(mineAgain, begun + 29s);  // the same epoch, its cache made anew
    EXPECT_TRUE(settlesAt(30s));
    epoch.Hashes(fee, begun + 100s);
    EXPECT_FALSE(settlesAt(340s));
    epoch.Hashes(mine, begun + 340s);
    EXPECT_FALSE(settlesAt(1000s));
    epoch.Hashes(fee, begun + 2000s);
    EXPECT_EQ(epoch.Due(rules), begun + 2300s);
    EXPECT_TRUE(settlesAt(2300s));
    EXPECT_EQ(epoch.Settled(), fee);
}

class Datasets : public testing::Test {
  protected:
    Datasets() {
        m_rules.first = 0ms;
        m_rules.other = 50ms;
        m_rules.threads = 2;
        m_rules.memory = [this] { return PhysicalMemory{64 * kGigabyte, m_free.load()}; };
    }
    bool Logged(std::string_view text, std::size_t count = 1) { return m_host.collector.WaitForLog(text, count); }
    std::size_t Lines() { return m_host.collector.Log().size(); }

    DatasetRules m_rules;
    std::atomic<std::uint64_t> m_free{64 * kGigabyte};
    CFakeHost m_host;
};

TEST_F(Datasets, WorkersShareOneAndKeepItThroughAnotherEpoch) {
    m_rules.other = 10min;
    CDatasetStore store(m_rules);
    const SharedCache mine = CacheOf(0), fee = CacheOf(1);
    CDatasetUser first(store, m_host), second(store, m_host);
    EXPECT_EQ(first.Of(mine), nullptr);
    ASSERT_TRUE(Logged("epoch 0 is done in "));
    const CEthashDataset* const dataset = first.Of(mine);
    ASSERT_NE(dataset, nullptr);
    EXPECT_EQ(second.Of(CacheOf(0)), dataset);
    EXPECT_EQ(first.Of(fee), nullptr);
    EXPECT_EQ(first.Of(mine), dataset);
    EXPECT_EQ(Lines(), 2u);
}

TEST_F(Datasets, AnotherEpochTakesOver) {
    CDatasetStore store(m_rules);
    const SharedCache old = CacheOf(0), next = CacheOf(1);
    CDatasetUser user(store, m_host);
    user.Of(old);
    ASSERT_TRUE(Logged("epoch 0 is done in "));
    ASSERT_NE(user.Of(old), nullptr);
    user.Of(next);
    ASSERT_TRUE(Logged("epoch 1 is done in "));
    EXPECT_NE(user.Of(next), nullptr);
    EXPECT_TRUE(Eventually([&] { return old.use_count() == 1; })) << "the old dataset is still there";
}

TEST_F(Datasets, WithoutRoomTheOldOneGoesFirstAndThenItIsTriedAgain) {
    CDatasetStore store(m_rules);
    const SharedCache old = CacheOf(0), next = CacheOf(1);
    CDatasetUser user(store, m_host);
    user.Of(old);
    ASSERT_TRUE(Logged("epoch 0 is done in "));
    m_free = kGigabyte;
    user.Of(next);
    ASSERT_TRUE(Logged("epoch 1 has no room in memory"));
    EXPECT_EQ(old.use_count(), 1);
    std::this_thread::sleep_for(4 * m_rules.other);
    EXPECT_EQ(Lines(), 3u) << "said once";
    m_free = 64 * kGigabyte;
    ASSERT_TRUE(Logged("epoch 1 is done in "));
    EXPECT_NE(user.Of(next), nullptr);
}

TEST_F(Datasets, TheLastUserEndsTheMakingAtOnceAndOthersGoOnWithIt) {
    m_rules.betweenProgress = 100ms;
    CDatasetStore store(m_rules);
    const SharedCache slow = CacheOf(0, kManyPages);
    CFakeHost gone;
    auto first = std::make_unique<CDatasetUser>(store, gone);
    first->Of(slow);
    ASSERT_TRUE(gone.collector.WaitForLog(" %"));
    auto second = std::make_unique<CDatasetUser>(store, m_host);
    second->Of(slow);
    first.reset();
    const std::size_t linesOfGone = gone.collector.Log().size();
    ASSERT_TRUE(Logged("the dataset of epoch 0: ", 2)) << "it goes on, in the name of who is left";
    const auto begun = std::chrono::steady_clock::now();
    second.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, 2s);
    store.GiveBackUnused();
    EXPECT_EQ(slow.use_count(), 1) << "nothing is left";
    EXPECT_EQ(gone.collector.Log().size(), linesOfGone);

    CDatasetUser again(store, m_host);
    again.Of(CacheOf(1));
    EXPECT_TRUE(Logged("epoch 1 is done in "));
}

// Two workers: they go on with shares when the dataset has taken over, and it goes after them.
TEST_F(Datasets, WorkersHashFromOneAndItGoesAfterThem) {
    m_rules.first = 20ms;
    const SharedCache cache = CacheOf(0);
    QvGpuRecord gpus[2]{};
    gpus[1].cudaId = 1;
    const HashingKind hashing = CpuHashing(m_rules);
    const auto board = std::make_shared<CJobBoard>();
    const StratumWorkBlock block = EthProxyBlock(HeaderText(1), std::string(64, '0'), std::string(64, 'f'));
    auto work = std::make_shared<EthashWork>();
    work->job = ParseEthashJob(block).job;
    work->block = &block;
    work->cache = cache;
    work->searchId = 1;
    {
        const auto first = hashing.makeWorker({gpus[0], 0, 2}, board, m_host);
        const auto second = hashing.makeWorker({gpus[1], 1, 2}, board, m_host);
        board->Publish(work);
        ASSERT_TRUE(Logged("epoch 0 is done in "));
        m_host.collector.Clear();
        ASSERT_TRUE(m_host.collector.WaitForShares(200));
        board->Close();
    }
    const auto shares = m_host.collector.Shares();
    for (const SentShare& share : std::span(shares).last(20)) {
        const EthashResult light = Hashimoto(*cache, work->job.header, share.Nonce(0));
        ASSERT_EQ(share.Parameter(2), "0x" + Digits(light.mix));
    }
    hashing.afterStop();
    work.reset();
    board->Publish(nullptr);
    EXPECT_EQ(cache.use_count(), 1);
}

}  // namespace
