#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "FakeHost.h"
#include "WorkBlocks.h"
#include "cards/FakeCudaDriver.h"
#include "ethash/cuda/CudaWorker.h"
#include "ethash/job/EthashJob.h"

namespace {

constexpr std::uint8_t kEasy = 0x1f;  // every eighth hash

// Epochs small enough for a CPU; they differ in all that a driver sees.
std::shared_ptr<const CEthashCache> TinyCache(std::uint32_t epoch) {
    constexpr std::uint64_t kRows[] = {1009, 1013}, kPages[] = {509, 521};
    return CEthashCache::Make(EthashVariant::Ethash, {epoch, epoch, 64 * kRows[epoch], 128 * kPages[epoch]},
                              SeedOfIndex(epoch), nullptr);
}

class CudaWorker : public testing::Test {
  protected:
    CudaWorker() {
        for (const auto& cache : m_caches)
            m_fake.Knows(cache);
        m_gpu.cudaId = 3;
        m_patience.pauses.fill(std::chrono::milliseconds(10));
        m_patience.memory = std::chrono::milliseconds(10);
    }
    ~CudaWorker() override {
        m_fake.stuck = false;
        Stop();
        // Threads that were given up end, too; nothing is left behind by any.
        EXPECT_TRUE(Eventually([&] { return m_fake.Contexts() == 0; }));
        EXPECT_EQ(m_fake.Allocations(), 0u);
        for (const std::string& fault : m_fake.Faults())
            ADD_FAILURE() << fault;
    }

    std::shared_ptr<EthashWork> Work(std::uint8_t header, std::uint8_t highestByte = kEasy, std::uint32_t epoch = 0) {
        auto work = std::make_shared<EthashWork>();
        work->job = ParseEthashJob(EthProxyBlock(HeaderText(header), Digits(SeedOfIndex(epoch)), std::string(64, 'f'))).job;
        work->job.target[0] = highestByte;
        work->block = &m_block;
        work->cache = m_caches[epoch];
        work->searchId = header;
        work->cleanId = header;
        work->nonceBase = 1000;
        return work;
    }
    void Start() {
        m_worker = std::make_unique<CCudaWorker>(m_fake.Driver(), WorkerPlace{m_gpu, 0, 1}, m_board, m_host, m_patience);
    }
    void Stop() {
        m_board->Close();
        m_worker.reset();
    }
    bool WaitForLog(const std::string& part, std::size_t count = 1) { return m_host.collector.WaitForLog(part, count); }
    bool WaitForShares(std::size_t count) { return m_host.collector.WaitForShares(count); }
    std::uint64_t Speed() { return Read(m_gpu.statistics.hashSpeed); }
    std::size_t SharesSent() const { return m_host.collector.Shares().size(); }

    const std::shared_ptr<const CEthashCache> m_caches[2] = {TinyCache(0), TinyCache(1)};
    const StratumWorkBlock m_block = EthProxyBlock(HeaderText(1), std::string(64, '0'), std::string(64, 'f'));
    CFakeCudaDriver m_fake;
    CFakeHost m_host;
    QvGpuRecord m_gpu{};
    CardPatience m_patience;
    const std::shared_ptr<CJobBoard> m_board = std::make_shared<CJobBoard>();
    std::unique_ptr<CCudaWorker> m_worker;
};

TEST_F(CudaWorker, SendsVerifiedSolutionsOfEachNonceOnceAndKeepsTheStatistics) {
    Start();
    m_board->Publish(Work(1));
    ASSERT_TRUE(WaitForShares(20));
    EXPECT_TRUE(Eventually([&] { return Speed() > 0 && Read(m_gpu.statistics.lastTime) != 0; }));
    m_board->Publish(Work(2));
    m_board->Publish(Work(2, 0x0f));  // a harder target goes on where the search is
    ASSERT_TRUE(WaitForShares(40));
    EXPECT_EQ(m_host.cardThreads, 1);
    Stop();
    EXPECT_EQ(Speed(), 0u);
    EXPECT_TRUE(WaitForLog("GPU 3: the dataset of epoch 0 is done in "));
    std::set<std::pair<std::string, std::uint64_t>> nonces;
    for (const SentShare& share : m_host.collector.Shares()) {
        EXPECT_TRUE(nonces.insert({share.Parameter(1), share.Nonce(0)}).second) << "found twice";
        EXPECT_EQ(share.Id() >> 16, 4u);
        const EthashResult result = Hashimoto(*m_caches[0], Bytes<32>(share.Parameter(1).substr(2)), share.Nonce(0));
        EXPECT_EQ(share.Parameter(2), "0x" + Digits(result.mix));
        EXPECT_LE(result.final[0], kEasy);
    }
}

TEST_F(CudaWorker, TheFreeNoncesAreSearchedOnceAndThenItRests) {
    auto work = Work(1, 0xff);
    work->job.nonces = {0xab00000000000000, 8};
    Start();
    m_board->Publish(work);
    ASSERT_TRUE(WaitForShares(256));
    ASSERT_TRUE(Eventually([&] { return Speed() == 0; }));
    std::set<std::uint64_t> nonces;
    for (const SentShare& share : m_host.collector.Shares())
        nonces.insert(share.Nonce(0));
    EXPECT_EQ(nonces.size(), 256u);
    EXPECT_EQ(SharesSent(), 256u);
}

TEST_F(CudaWorker, SolutionsOfAReplacedJobAreStale) {
    Start();
    // The board changes while the first grid that finds something runs.
    std::atomic<bool> replaced{false};
    m_host.onSend = [&] {
        if (!replaced.exchange(true)) m_board->Publish(nullptr);
    };
    m_board->Publish(Work(1, 0xff));
    EXPECT_TRUE(Eventually([&] { return Read(m_gpu.statistics.stale) >= 7; }));
    EXPECT_TRUE(Eventually([&] { return Speed() == 0; }));
    Stop();
    EXPECT_EQ(SharesSent(), 1u);
}

TEST_F(CudaWorker, WhatIsFoundForAJobThatMayBeFinishedIsSentWithIt) {
    const auto next = Work(2, 0xff);
    next->cleanId = 1;
    Start();
    std::atomic<bool> replaced{false};
    m_host.onSend = [&] {
        if (!replaced.exchange(true)) m_board->Publish(next);
    };
    m_board->Publish(Work(1, 0xff));
    const auto ofJob = [](std::uint8_t header) {
        return [header](const SentShare& share) { return share.Parameter(1) == "0x" + HeaderText(header); };
    };
    EXPECT_TRUE(m_host.collector.WaitForShares(8, ofJob(1)));
    EXPECT_TRUE(m_host.collector.WaitForShares(8, ofJob(2)));
    EXPECT_EQ(Read(m_gpu.statistics.stale), 0u);
}

TEST_F(CudaWorker, TheDatasetBeforeIsKeptWhereBothHaveRoom) {
    Start();
    for (std::uint8_t turn = 0; turn < 4; ++turn) {
        m_board->Publish(Work(turn, kEasy, turn % 2));
        const std::string header = "0x" + HeaderText(turn);
        ASSERT_TRUE(m_host.collector.WaitForShares(3, [&](const SentShare& share) { return share.Parameter(1) == header; }));
    }
    const auto log = m_host.collector.Log();
    EXPECT_EQ(std::count_if(log.begin(), log.end(), [](auto& line) { return line.find(": making ") != line.npos; }), 2);
}

// Looked at as often as the thread that watches does, or after a sleep of the PC.
TEST(CardDesk, ASleepIsNoStall) {
    using std::chrono::seconds;
    CFakeHost host;
    QvGpuRecord gpu{};
    CCardDesk desk({gpu, 0, 1}, std::make_shared<CJobBoard>(), host);
    auto now = std::chrono::steady_clock::now() + seconds(1);
    desk.Look(now);
    desk.Beat(seconds(30));
    EXPECT_TRUE(desk.Look(now += std::chrono::hours(8)));
    for (int i = 0; i < 28; ++i)
        EXPECT_TRUE(desk.Look(now += seconds(1)));
    EXPECT_FALSE(desk.Look(now += seconds(1)));
    desk.Beat(seconds(30));
    EXPECT_TRUE(desk.Look(now));
    desk.Hashed(1000, 0);
    EXPECT_TRUE(desk.Look(now += std::chrono::hours(8)));
    EXPECT_EQ(gpu.statistics.hashSpeed, 0u);
}

// A dataset of eleven grids, the last but one item long, on a card whose second launch of a grid may be as wrong as its
// first.
TEST_F(CudaWorker, EachGridOfADatasetIsChecked) {
    const CCudaContext context(*m_fake.Driver().api, 0);
    std::mt19937_64 random{7};
    const auto goOn = [](double) { return true; };
    for (unsigned spoiled = 0; spoiled < 11; ++spoiled) {
        SCOPED_TRACE(spoiled);
        std::atomic<bool> spoil{true};
        m_fake.run = [&](std::string_view kernel, const void* parameters, unsigned blocks, unsigned) {
            m_fake.RunOnCpu(kernel, parameters, blocks);
            const auto& build = *static_cast<const EthashBuildParameters*>(parameters);
            if (!spoil || build.firstItem != spoiled * 101) return;
            std::memset(static_cast<char*>(build.dataset) + std::size_t{build.firstItem} * 64, 0, build.itemCount * 64);
        };
        CCudaDataset dataset(context, 101);
        ASSERT_TRUE(dataset.Build(*m_caches[0], goOn));
        EXPECT_EQ(dataset.Grids(), 11u);
        const std::vector<unsigned> wrong = dataset.WrongGrids(*m_caches[0], random);
        EXPECT_EQ(wrong, std::vector<unsigned>{spoiled});
        ASSERT_TRUE(dataset.Rebuild(*m_caches[0], wrong, goOn));
        EXPECT_EQ(dataset.WrongGrids(*m_caches[0], random), wrong);
        spoil = false;
        ASSERT_TRUE(dataset.Rebuild(*m_caches[0], wrong, goOn));
        EXPECT_TRUE(dataset.WrongGrids(*m_caches[0], random).empty());
        EXPECT_EQ(dataset.CountWrong(*m_caches[0], 1000, random), 0u);
    }
    m_fake.run = nullptr;
}

TEST_F(CudaWorker, ACardWithoutRoomForTheDatasetHashesWhenThereIsSome) {
    m_fake.freeMemory = CCudaDataset::MemoryNeeded(m_caches[0]->Epoch()) - 1;
    Start();
    m_board->Publish(Work(1));
    ASSERT_TRUE(WaitForLog("GPU 3: not hashing: the dataset of epoch 0 needs 64 MB of memory, of 8192 MB there are "));
    m_fake.Fail("cuMemAlloc", kCudaOutOfMemory);
    m_fake.freeMemory = 1ULL << 40;
    ASSERT_TRUE(
        WaitForLog("GPU 3: not hashing: the dataset of epoch 0 does not fit into its memory; tried again every 0 s"));
    const unsigned tried = m_fake.Calls("cuMemAlloc");
    ASSERT_TRUE(Eventually([&] { return m_fake.Calls("cuMemAlloc") > tried + 2; }));
    EXPECT_EQ(Speed(), 0u);
    EXPECT_NE(m_host.collector.Log().back().find("does not fit"), std::string::npos) << "the reason is not the last word";
    m_fake.Fail("cuMemAlloc", 0);
    ASSERT_TRUE(WaitForShares(1));
    EXPECT_TRUE(WaitForLog("GPU 3: hashing"));
    const auto log = m_host.collector.Log();
    EXPECT_EQ(std::count_if(log.begin(), log.end(), [](auto& line) { return line.find("not hashing") != line.npos; }), 2);
    EXPECT_EQ(m_fake.Calls("cuCtxCreate"), 1u);
}

TEST_F(CudaWorker, AWrongDatasetIsMadeOnceMore) {
    m_fake.spoiledBuilds = 1;
    Start();
    m_board->Publish(Work(1));
    ASSERT_TRUE(WaitForShares(1));
    EXPECT_TRUE(WaitForLog("1 of the 1 parts of the dataset of epoch 0 are wrong: made again"));

    m_fake.spoiledBuilds = 2;
    m_board->Publish(Work(2, kEasy, 1));
    ASSERT_TRUE(WaitForLog("GPU 3: not hashing: its memory does not keep what is written"));
    EXPECT_TRUE(Eventually([&] { return m_fake.Contexts() == 0; }));
    EXPECT_EQ(Speed(), 0u);
    EXPECT_EQ(m_fake.Calls("cuCtxCreate"), 1u);
}

TEST_F(CudaWorker, AWrongSolutionIsAHardwareErrorAndNotSent) {
    m_fake.wrongSolutions = true;
    Start();
    m_board->Publish(Work(1));
    ASSERT_TRUE(WaitForLog("GPU 3: hardware error 2: nonce 00000000000003"));
    EXPECT_GE(Read(m_gpu.statistics.reserved0), 2u);
    Stop();
    EXPECT_EQ(SharesSent(), 0u);
}

TEST_F(CudaWorker, ADriverThatCannotRunTheCodeIsNotAskedAgain) {
    const struct {
        const char* function;
        CudaResult result;
        const char* advice;
    } cases[] = {{"cuCtxCreate", 801, "support"},          {"cuModuleLoadDataEx", 218, "update"},
                 {"cuModuleLoadDataEx", 221, "reinstall"}, {"cuModuleLoadDataEx", 222, "newer driver"},
                 {"cuModuleLoadDataEx", 223, "PTX_JIT"},   {"cuCtxCreate", 803, "restart the PC"}};
    for (const auto& each : cases) {
        const unsigned before = m_fake.Calls(each.function);
        m_fake.Fail(each.function, each.result);
        CFakeHost host;
        const auto board = std::make_shared<CJobBoard>();
        board->Publish(Work(1));
        {
            CCudaWorker worker(m_fake.Driver(), {m_gpu, 0, 1}, board, host);
            EXPECT_TRUE(host.collector.WaitForLog(std::string("GPU 3: not hashing: the driver cannot run the kernels: ") +
                                                  each.function + ": as told"));
            EXPECT_NE(host.collector.Log().back().find(each.advice), std::string::npos);
            board->Close();
        }
        EXPECT_EQ(m_fake.Calls(each.function), before + 1);
        m_fake.Fail(each.function, 0);
    }
    const CudaDriver none{nullptr, "there is no NVIDIA driver"};
    const auto board = std::make_shared<CJobBoard>();
    CCudaWorker worker(none, {m_gpu, 0, 1}, board, m_host);
    EXPECT_TRUE(WaitForLog("GPU 3: not hashing: there is no NVIDIA driver"));
    board->Close();
}

TEST_F(CudaWorker, ACardThatVanishesIsTriedUntilItIsBack) {
    Start();
    m_board->Publish(Work(1));
    ASSERT_TRUE(WaitForShares(1));
    m_fake.Fail("cuDeviceGet", 101);
    m_fake.Fail("cuLaunchKernel", 719);
    ASSERT_TRUE(WaitForLog("GPU 3: lost: cuLaunchKernel: as told (719); it is started again in 0 s"));
    ASSERT_TRUE(WaitForLog("GPU 3: lost: cuDeviceGet: as told (101); it is started again in 0 s", 6));
    EXPECT_EQ(Speed(), 0u);
    EXPECT_EQ(m_fake.Contexts(), 0u);
    m_fake.Fail("cuLaunchKernel", 0);
    m_fake.Fail("cuDeviceGet", 0);
    const std::size_t sent = SharesSent();
    ASSERT_TRUE(WaitForShares(sent + 10)) << "does not hash again";
    EXPECT_TRUE(WaitForLog("GPU 3: hashing"));
    EXPECT_EQ(m_host.keptLoaded, 0);
}

TEST_F(CudaWorker, APauseEndsWithTheMining) {
    m_patience.pauses.fill(std::chrono::minutes(10));
    m_fake.Fail("cuDeviceGet", 101);
    Start();
    ASSERT_TRUE(WaitForLog("it is started again in 600 s"));
    const auto begun = std::chrono::steady_clock::now();
    Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(10));
}

TEST_F(CudaWorker, AStuckCardIsGivenUpAndReachesNothingAnyMore) {
    m_patience.grid = std::chrono::seconds(2);  // far more than a grid on the CPU takes on a busy machine
    Start();
    m_board->Publish(Work(1));
    ASSERT_TRUE(WaitForShares(1));
    m_fake.stuck = true;
    ASSERT_TRUE(WaitForLog("GPU 3: lost: it does not get on; it is started again in 0 s"));
    EXPECT_EQ(Speed(), 0u);
    // Its threads do not pile up.
    ASSERT_TRUE(WaitForLog("GPU 3: lost: its driver has not returned from 3 calls; it is started again in 0 s"));
    EXPECT_EQ(m_host.keptLoaded, 3);
    // What they hold is room that the next one has to wait for.
    m_fake.freeMemory = 0;
    m_fake.stuck = false;
    ASSERT_TRUE(WaitForLog("of memory, of 8192 MB there are 0 MB free"));
    m_fake.freeMemory = 1ULL << 40;
    const std::size_t sent = SharesSent();
    ASSERT_TRUE(WaitForShares(sent + 10));
    EXPECT_TRUE(Eventually([&] { return m_fake.Contexts() == 1; })) << "the thread that was given up has not ended";
}

TEST_F(CudaWorker, StoppingDoesNotWaitForAStuckCard) {
    m_patience.stopping = std::chrono::milliseconds(50);
    Start();
    m_board->Publish(Work(1));
    ASSERT_TRUE(WaitForShares(1));
    m_fake.stuck = true;
    const unsigned waits = m_fake.Calls("cuEventSynchronize");
    const auto begun = std::chrono::steady_clock::now();
    Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(10));
    EXPECT_EQ(m_host.keptLoaded, 1);
    const std::size_t sent = SharesSent();
    m_fake.stuck = false;
    EXPECT_TRUE(Eventually([&] { return m_fake.Contexts() == 0; }));
    EXPECT_GT(m_fake.Calls("cuEventSynchronize"), waits);
    EXPECT_EQ(SharesSent(), sent);
}

}  // namespace
