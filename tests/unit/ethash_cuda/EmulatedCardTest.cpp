// The whole engine on emulated cards: the kernels' own source makes the dataset and searches it.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <memory>
#include <set>
#include <string>

#include "FakeHost.h"
#include "WorkBlocks.h"
#include "cards/FakeCudaDriver.h"
#include "ethash/cuda/CudaWorker.h"
#include "ethash/job/EthashJob.h"
#include "kernels/GpuEmulator.h"

namespace {

TEST(EmulatedCards, FindSolutionsWithEveryVariantThatTheCpuConfirms) {
    constexpr EthashEpoch kTiny{.epoch = 0, .seedIndex = 0, .cacheBytes = 64 * 251, .datasetBytes = 128 * 127};
    const std::shared_ptr<const CEthashCache> cache = CEthashCache::Make(EthashVariant::Ethash, kTiny, {}, nullptr);
    CFakeCudaDriver driver;
    std::atomic<bool> ran[4]{};
    driver.run = [&](std::string_view kernel, const void* parameters, unsigned blocks, unsigned threads) {
        ran[kernel == "ethash_build_dataset" ? 3 : kernel.back() == '2' ? 0 : kernel.back() == '4' ? 1 : 2] = true;
        EmulateKernel(kernel, parameters, blocks, threads);
    };
    const StratumWorkBlock block = EthProxyBlock(HeaderText(7), std::string(64, '0'), std::string(64, 'f'));
    auto work = std::make_shared<EthashWork>();
    work->job = ParseEthashJob(block).job;
    work->job.target[0] = 0x3f;  // every fourth hash
    work->block = &block;
    work->cache = cache;
    const auto board = std::make_shared<CJobBoard>();
    board->Publish(work);
    CFakeHost host;
    QvGpuRecord gpus[2]{};
    gpus[1].cudaId = 1;
    {
        CCudaWorker first(driver.Driver(), {gpus[0], 0, 2}, board, host);
        CCudaWorker second(driver.Driver(), {gpus[1], 1, 2}, board, host);
        EXPECT_TRUE(
            Eventually([&] { return std::all_of(std::begin(ran), std::end(ran), [](auto& each) { return each.load(); }); }));
        EXPECT_TRUE(host.collector.WaitForShares(101));
        board->Close();
    }
    std::set<std::uint64_t> nonces;
    for (const SentShare& share : host.collector.Shares()) {
        EXPECT_TRUE(nonces.insert(share.Nonce(0)).second) << "found twice";
        EXPECT_EQ(share.Parameter(2), "0x" + Digits(Hashimoto(*cache, work->job.header, share.Nonce(0)).mix));
    }
    EXPECT_GT(nonces.size(), 100u);
    for (const QvGpuRecord& gpu : gpus)
        EXPECT_EQ(gpu.statistics.reserved0, 0u) << "hardware errors";
    EXPECT_EQ(driver.Contexts(), 0u);
}

}  // namespace
