#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "FakeHost.h"
#include "Shares.h"
#include "WorkBlocks.h"
#include "ethash/cpu/CpuWorker.h"
#include "ethash/engine/MiningEngine.h"

namespace {

const std::string kSeed = std::string(64, '0');  // epoch 0
const std::string kEverything(64, 'f');

// The cache of epoch 0 is made once for all tests of the engine.
CCacheStore& Store() {
    static CCacheStore store(EthashVariant::Etchash);
    return store;
}

class Engine : public testing::Test {
  protected:
    Engine() {
        for (int i = 0; i < 2; ++i)
            m_gpus[i].cudaId = 3 + 2 * i;
        QvGpuRecord* const gpus[] = {&m_gpus[0], &m_gpus[1]};
        m_engine.SetGpus(gpus);
    }

    void NewJob(const StratumWorkBlock& block) { m_engine.Update(QV_MSG_NEW_JOB, &block); }
    std::uint64_t Speed() { return Read(m_gpus[0].statistics.hashSpeed) + Read(m_gpus[1].statistics.hashSpeed); }
    CCollector& Collected() { return m_host.collector; }

    QvGpuRecord m_gpus[2]{};
    StratumWorkBlock m_block = EthProxyBlock(HeaderText(1), kSeed, kEverything);
    CFakeHost m_host;
    CMiningEngine m_engine{Store(), m_host, {MakeCpuWorker}};
};

TEST_F(Engine, SendsWhatItFindsAndKeepsTheStatistics) {
    m_block = EthProxyBlock(HeaderText(1), kSeed, "1" + std::string(63, 'f'));  // every eighth hash
    m_block.session = &m_block;
    m_engine.Start();
    m_engine.Activate(&m_block);
    for (const std::uint32_t cudaId : {3u, 5u}) {
        ASSERT_TRUE(Collected().WaitForShares(3, [&](const SentShare& share) { return share.Id() >> 16 == cudaId + 1; }));
    }
    ASSERT_TRUE(Eventually([&] { return Read(m_gpus[0].statistics.hashHistory.bookkeeping[1]) >= 2; }));
    EXPECT_TRUE(Eventually([&] { return Read(m_gpus[0].statistics.hashSpeed) > 0; }));
    EXPECT_TRUE(Eventually([&] { return Read(m_gpus[1].statistics.hashSpeed) > 0; }));
    m_engine.Stop();

    EXPECT_EQ(Speed(), 0u);
    EXPECT_EQ(m_gpus[0].statistics.stale, 0u);
    // Between 2024 and 2100.
    EXPECT_GT(m_gpus[0].statistics.lastTime, 133'485'408'000'000'000);
    EXPECT_LT(m_gpus[0].statistics.lastTime, 157'469'184'000'000'000);
    const auto cache = Store().Find(EpochOfBlock(EthashVariant::Etchash, 0), {});
    std::set<std::uint64_t> nonces;
    std::map<std::uint32_t, std::uint32_t> next;  // of each GPU's sequence
    for (const SentShare& share : Collected().Shares()) {
        EXPECT_EQ(share.session, &m_block);
        EXPECT_TRUE(nonces.insert(share.Nonce(0)).second) << "found twice";
        EXPECT_EQ(share.Id() & 0xffff, next[share.Id() >> 16]++);
        if (nonces.size() > 10) continue;
        const EthashResult result = Hashimoto(*cache, Bytes<32>(HeaderText(1)), share.Nonce(0));
        EXPECT_EQ(share.Parameter(2), "0x" + Digits(result.mix));
        EXPECT_LT(result.final[0], 0x20);
    }
}

TEST_F(Engine, TheFreeNoncesAreSearchedOnceAndThenItRests) {
    m_block = NiceHashBlock(HeaderText(1), kSeed, "01020304050607");
    m_engine.Start();
    m_engine.Activate(&m_block);
    ASSERT_TRUE(Collected().WaitForShares(256));
    ASSERT_TRUE(Eventually([&] { return Speed() == 0; }));
    NewJob(m_block);           // a replay of the same job begins nothing
    m_block.target[0] = 0xfe;  // nor does a new target alone
    NewJob(m_block);
    SetSlot(m_block.parameters[1], HeaderText(2));
    NewJob(m_block);
    ASSERT_TRUE(Collected().WaitForShares(400));
    std::set<std::uint64_t> first, second;
    const auto shares = Collected().Shares();
    for (std::size_t i = 0; i < shares.size(); ++i)
        (i < 256 ? first : second).insert(shares[i].Nonce(2));
    EXPECT_EQ(first.size(), 256u);
    EXPECT_EQ(second.size(), shares.size() - 256);
    EXPECT_EQ(shares[0].Parameter(2).size(), 2u);
}

TEST_F(Engine, NiceHashTargetsAndExtranoncesHoldFromTheNextJobOn) {
    m_block = NiceHashBlock(HeaderText(1), kSeed, "0102");
    m_engine.Start();
    m_engine.Activate(&m_block);
    m_engine.Update(QV_MSG_LOGGED_IN, &m_block);  // the replay
    ASSERT_TRUE(Collected().WaitForShares(1));
    const auto nonceDigits = [](std::size_t digits) {
        return [digits](const SentShare& share) { return share.Parameter(2).size() == digits; };
    };
    const auto goesOn = [&](std::size_t digits) {
        Collected().Clear();
        return Collected().WaitForShares(2 * kBatchNonces + 1, nonceDigits(digits));
    };
    SetSlot(m_block.extranonce, "010203");
    m_engine.Update(QV_MSG_NEW_EXTRANONCE, &m_block);
    EXPECT_TRUE(goesOn(12));
    std::fill(std::begin(m_block.target), std::end(m_block.target), std::uint8_t{0});  // such shares would not come
    m_engine.Update(QV_MSG_NEW_TARGET, &m_block);
    EXPECT_TRUE(goesOn(12));
    std::fill(std::begin(m_block.target), std::end(m_block.target), std::uint8_t{0xff});
    SetSlot(m_block.jobId, "next");
    NewJob(m_block);
    EXPECT_TRUE(goesOn(10));
    m_engine.Update(QV_MSG_LOGGED_IN, &m_block);  // a new connection: the job in the block is not of it
    m_engine.Update(QV_MSG_NEW_TARGET, &m_block);
    EXPECT_TRUE(Eventually([&] { return Speed() == 0; }));
    NewJob(m_block);
    EXPECT_TRUE(goesOn(10));
}

TEST_F(Engine, AMalformedJobEndsTheOneBeforeIt) {
    m_engine.Start();
    m_engine.Activate(&m_block);
    ASSERT_TRUE(Collected().WaitForShares(1));
    SetSlot(m_block.parameters[0], "0x1234");
    for (int message = 0; message < 3; ++message)
        NewJob(m_block);
    ASSERT_TRUE(Eventually([&] { return Speed() == 0; }));
    Collected().WaitForLog("the seed is not 32 bytes");
    const Hash256 unknown{1};
    SetSlot(m_block.parameters[0], Digits(unknown));
    NewJob(m_block);
    Collected().WaitForLog("the seed belongs to no epoch");
    const auto log = Collected().Log();
    EXPECT_EQ(std::count_if(log.begin(), log.end(), [](auto& line) { return line.find("refused") != line.npos; }), 2);
    Collected().Clear();
    SetSlot(m_block.parameters[0], kSeed);
    NewJob(m_block);
    EXPECT_TRUE(Collected().WaitForShares(1));
    m_block.protocolMode = 3;
    for (int message = 0; message < 3; ++message)
        NewJob(m_block);
    EXPECT_EQ(Collected().Log().size(), 1u) << "a dialect that is not spoken is said once";
}

TEST_F(Engine, FollowsTheActiveSessionOnly) {
    StratumWorkBlock fee = EthProxyBlock(HeaderText(2), kSeed, kEverything);
    m_block.session = &m_block;
    fee.session = &fee;
    m_engine.Start();
    m_engine.Activate(&m_block);
    ASSERT_TRUE(Collected().WaitForShares(1));
    m_engine.Activate(&fee);
    const auto ofFee = [&](const SentShare& share) { return share.session == &fee; };
    ASSERT_TRUE(Collected().WaitForShares(1, ofFee));
    Collected().Clear();
    m_block.protocolMode = 2;  // in which a login ends the work
    for (int late = 0; late < 2; ++late)
        m_engine.Update(QV_MSG_LOGGED_IN, &m_block);
    ASSERT_TRUE(Collected().WaitForShares(30, ofFee));
    const auto shares = Collected().Shares();
    EXPECT_TRUE(std::all_of(shares.begin() + kBatchNonces, shares.end(), ofFee));
    // A session that has logged in anew has no job yet.
    SetSlot(fee.jobId, "");
    m_engine.Update(QV_MSG_LOGGED_IN, &fee);
    EXPECT_TRUE(Eventually([&] { return Speed() == 0; }));
}

TEST_F(Engine, ARefusedSendIsNoShare) {
    m_host.sendResult = 10054;
    std::atomic<int> tries{0};
    m_host.onSend = [&] { ++tries; };
    m_engine.Start();
    m_engine.Activate(&m_block);
    ASSERT_TRUE(Eventually([&] { return tries > 10; }));
    m_engine.Stop();
    EXPECT_EQ(m_gpus[0].statistics.lastTime, 0);
    EXPECT_EQ(m_gpus[0].statistics.stale, 0u);
}

TEST(EngineCaches, StopEndsTheMakingAndTheNextSessionMakesItAnew) {
    CCacheStore store(EthashVariant::Ethash);
    CFakeHost host;
    QvGpuRecord gpu{};
    QvGpuRecord* const gpus[] = {&gpu};
    const StratumWorkBlock block = EthProxyBlock(HeaderText(1), Digits(SeedOfIndex(1)), kEverything);
    for (int round = 0; round < 2; ++round) {
        CMiningEngine engine(store, host, {MakeCpuWorker});
        engine.SetGpus(gpus);
        engine.Start();
        engine.Activate(&block);
        ASSERT_TRUE(
            host.collector.WaitForLog("making the light cache of epoch 1 (16 MB)", static_cast<std::size_t>(round) + 1));
        if (round == 0) continue;
        EXPECT_TRUE(host.collector.WaitForLog("epoch 1 is done in "));
        EXPECT_TRUE(host.collector.WaitForShares(1));
    }
    EXPECT_EQ(host.collector.Log().size(), 3u);  // the first was not finished
}

TEST(EngineCaches, SessionsThatStartTogetherShareOneAndAnotherEpochReplacesIt) {
    CCacheStore store(EthashVariant::Ethash);
    CFakeHost host;
    QvGpuRecord gpus[2]{};
    QvGpuRecord* const first[] = {&gpus[0]};
    QvGpuRecord* const second[] = {&gpus[1]};
    StratumWorkBlock block = EthProxyBlock(HeaderText(1), kSeed, kEverything);
    gpus[1].cudaId = 1;
    CMiningEngine engines[] = {{store, host, {MakeCpuWorker}}, {store, host, {MakeCpuWorker}}};
    engines[0].SetGpus(first);
    engines[1].SetGpus(second);
    for (CMiningEngine& engine : engines) {
        engine.Start();
        engine.Activate(&block);
    }
    const auto ofGpu = [](std::uint32_t number) {
        return [number](const SentShare& share) { return share.Id() >> 16 == number + 1; };
    };
    ASSERT_TRUE(host.collector.WaitForShares(1, ofGpu(0)));
    ASSERT_TRUE(host.collector.WaitForShares(1, ofGpu(1)));
    EXPECT_EQ(host.collector.Log().size(), 2u);

    SetSlot(block.parameters[0], Digits(SeedOfIndex(1)));
    engines[0].Update(QV_MSG_NEW_JOB, &block);
    EXPECT_TRUE(Eventually([&] { return Read(gpus[0].statistics.hashSpeed) == 0; }));
    SetSlot(block.parameters[0], Digits(SeedOfIndex(2)));
    engines[0].Update(QV_MSG_NEW_JOB, &block);
    EXPECT_TRUE(host.collector.WaitForLog("epoch 2 is done in "));
    EXPECT_TRUE(Eventually([&] { return Read(gpus[0].statistics.hashSpeed) > 0; }));
    const auto log = host.collector.Log();
    EXPECT_TRUE(std::none_of(log.begin(), log.end(), [](auto& line) { return line.find("epoch 1 is") != line.npos; }));
}

TEST(EngineCaches, TheNextEpochsIsMadeAheadAndThenUsed) {
    CCacheStore store(EthashVariant::Ethash);
    CFakeHost host;
    QvGpuRecord gpu{};
    QvGpuRecord* const gpus[] = {&gpu};
    StratumWorkBlock block = EthProxyBlock(HeaderText(1), kSeed, kEverything);
    CMiningEngine engine(store, host, {MakeCpuWorker, true});
    engine.SetGpus(gpus);
    engine.Start();
    engine.Activate(&block);
    ASSERT_TRUE(host.collector.WaitForLog("epoch 0 is done in "));
    SetSlot(block.jobId, "0x" + HeaderText(2));
    engine.Update(QV_MSG_NEW_JOB, &block);
    ASSERT_TRUE(host.collector.WaitForLog("epoch 1 is done in "));
    SetSlot(block.parameters[0], Digits(SeedOfIndex(1)));
    engine.Update(QV_MSG_NEW_JOB, &block);
    ASSERT_TRUE(host.collector.WaitForLog("epoch 2 is done in "));
    EXPECT_EQ(host.collector.Log().size(), 6u) << "one was made twice";
}

TEST(EngineCaches, BothSeedsOfALongEpochMeanOneCacheFromTheFirst) {
    CCacheStore store(EthashVariant::Etchash);
    CFakeHost host;
    QvGpuRecord gpu{};
    QvGpuRecord* const gpus[] = {&gpu};
    StratumWorkBlock block = EthProxyBlock(HeaderText(1), Digits(SeedOfIndex(391)), kEverything);
    CMiningEngine engine(store, host, {MakeCpuWorker});
    engine.SetGpus(gpus);
    engine.Start();
    engine.Activate(&block);
    ASSERT_TRUE(host.collector.WaitForShares(1));
    SetSlot(block.jobId, "0x" + HeaderText(2));
    SetSlot(block.parameters[0], Digits(SeedOfIndex(390)));
    engine.Update(QV_MSG_NEW_JOB, &block);
    const auto ofSecond = [](const SentShare& share) { return share.Parameter(1) == "0x" + HeaderText(2); };
    ASSERT_TRUE(host.collector.WaitForShares(1, ofSecond));
    EXPECT_EQ(host.collector.Log().size(), 2u) << "made twice";
    const auto cache = store.Find(EpochOfBlock(EthashVariant::Etchash, 11'700'000), SeedOfIndex(390));
    EXPECT_TRUE(cache != nullptr && cache->Seed() == SeedOfIndex(390));
}

class CIdleWorker final : public IHashWorker {};

TEST(EngineJobs, WhatMakesEarlierJobsWorthless) {
    const auto proxy = EthProxyBlock(HeaderText(1), kSeed, kEverything), nice = NiceHashBlock(HeaderText(1), kSeed, "01");
    StratumWorkBlock plain = proxy;
    plain.protocolMode = 1;
    for (const int slot : {0, 1, 2})
        SetSlot(plain.parameters[slot], slot == 0 ? HeaderText(1) : slot == 1 ? kSeed : kEverything);
    const std::atomic<bool> never{false};
    Store().Make(EpochOfBlock(EthashVariant::Etchash, 0), {}, never, [] {});
    using Change = std::function<void(StratumWorkBlock&)>;
    const Change clean = [](auto&block) { block.cleanJobs = 1; }, none = [](auto&) {};
    const struct {
        const char* what;
        const StratumWorkBlock& base;
        Change change;
        bool cleans;
        std::uint32_t before = QV_MSG_NEW_JOB;  // a message that comes first
    } cases[] = {{"without the flag", nice, none, false},
                 {"with the flag", nice, clean, true},
                 {"plain with the flag", plain, clean, true},
                 {"no flag in this dialect", proxy, none, true},
                 {"another extranonce", nice, [](auto& block) { SetSlot(block.extranonce, "02"); }, true},
                 {"another session", nice, [](auto& block) { block.session = &block; }, true},
                 {"a login", plain, none, true, QV_MSG_LOGGED_IN},
                 {"a login that drops the work", nice, none, true, QV_MSG_LOGGED_IN}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        CFakeHost host;
        QvGpuRecord gpu{};
        QvGpuRecord* const gpus[] = {&gpu};
        std::shared_ptr<const CJobBoard> board;
        CMiningEngine engine(Store(), host, {[&](const WorkerPlace&, const auto& own, IEngineHost&) {
                                 board = own;
                                 return std::make_unique<CIdleWorker>();
                             }});
        std::uint64_t last = 0;
        const auto cleaned = [&] { return std::exchange(last, board->CleanGeneration()) != last; };
        engine.SetGpus(gpus);
        engine.Start();
        StratumWorkBlock block = each.base;
        engine.Activate(&block);
        engine.Update(QV_MSG_NEW_JOB, &block);
        cleaned();
        engine.Update(each.before, &block);
        SetSlot(block.jobId, "0x" + HeaderText(2));
        each.change(block);
        engine.Update(QV_MSG_NEW_JOB, &block);
        EXPECT_EQ(cleaned(), each.cleans);
        EXPECT_TRUE(board->Current().work->job.jobId == block.jobId) << "nothing was published";
        block.target[0] = 0x7f;
        if (block.protocolMode != 2) SetSlot(block.parameters[block.protocolMode + 1], "ff");
        engine.Update(QV_MSG_NEW_JOB, &block);
        EXPECT_FALSE(cleaned()) << "a new target alone";
    }
}

// A worker that sees the closing of the board as just another publication must not wait for the next one.
TEST(JobBoard, NobodyWaitsAtAClosedBoard) {
    CJobBoard board;
    board.Close();
    const auto begun = std::chrono::steady_clock::now();
    board.WaitForChange(board.Current().generation, begun + std::chrono::seconds(20));
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(10));
}

// The board is changed from within the first send of a batch: the rest of that batch belongs to a job that is gone.
TEST(Worker, SolutionsOfAReplacedJobAreStale) {
    const auto cache =
        CEthashCache::Make(EthashVariant::Ethash,
                           {.epoch = 0, .seedIndex = 0, .cacheBytes = 64 * 1009, .datasetBytes = 128 * 10007}, {}, nullptr);
    const StratumWorkBlock block = EthProxyBlock(HeaderText(1), kSeed, kEverything);
    const auto work = [&](std::uint8_t header, std::uint64_t search, std::uint8_t highestByte, std::uint64_t clean) {
        auto made = std::make_shared<EthashWork>();
        made->job = ParseEthashJob(EthProxyBlock(HeaderText(header), kSeed, kEverything)).job;
        made->job.target[0] = highestByte;
        made->block = &block;
        made->cache = cache;
        made->searchId = search;
        made->cleanId = clean;
        return made;
    };
    struct Case {
        const char* what;
        std::shared_ptr<const EthashWork> next;  // replaces the job at the first send
        std::size_t sent;
        std::uint64_t stale;
    };
    const Case cases[] = {{"another job", work(2, 2, 0, 2), 1, kBatchNonces - 1},
                          {"no job", nullptr, 1, kBatchNonces - 1},
                          {"a job that lets the first be finished", work(2, 2, 0, 1), kBatchNonces, 0},
                          {"the same job, a harder target", work(1, 1, 0, 1), 1, 0}};
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        CFakeHost host;
        const auto board = std::make_shared<CJobBoard>();
        QvGpuRecord gpu{};
        std::atomic<bool> replaced{false};
        host.onSend = [&] {
            if (!replaced.exchange(true)) board->Publish(each.next);
        };
        {
            CCpuWorker worker({gpu, 0, 1}, board, host);
            board->Publish(work(1, 1, 0xff, 1));
            EXPECT_TRUE(host.collector.WaitForShares(each.sent));
            EXPECT_TRUE(Eventually([&] { return each.stale == 0 || Read(gpu.statistics.stale) == each.stale; }));
            board->Close();
        }
        EXPECT_EQ(gpu.statistics.stale, each.stale);
        // Of the harder target every 256th hash or fewer may follow.
        EXPECT_LE(host.collector.Shares().size(), each.next == nullptr ? each.sent : each.sent + kBatchNonces / 2);
        for (std::size_t i = 0; i < each.sent; ++i)
            EXPECT_EQ(host.collector.Shares()[i].Parameter(1), "0x" + HeaderText(1)) << "sent with another job";
    }
}

}  // namespace
