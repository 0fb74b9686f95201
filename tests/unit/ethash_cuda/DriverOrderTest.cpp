// What the engine hands to the driver is ordered by streams and waits, never by luck.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "FakeHost.h"
#include "WorkBlocks.h"
#include "cards/FakeCudaDriver.h"
#include "ethash/cuda/CudaWorker.h"
#include "ethash/job/EthashJob.h"

namespace {

TEST(DriverOrder, ARealEpochIsBuiltCheckedAndSearchedInTwoStreamsWithoutAnythingLeftToLuck) {
    // The sizes of a real dataset over a small light cache: many build grids, quickly made items.
    constexpr EthashEpoch kEpoch{.epoch = 0, .seedIndex = 0, .cacheBytes = 64 * 1009, .datasetBytes = 1'073'739'904};
    const auto cache = CEthashCache::Make(EthashVariant::Ethash, kEpoch, {}, nullptr);
    CFakeCudaDriver driver;
    driver.Knows(cache);
    const StratumWorkBlock block = EthProxyBlock(HeaderText(7), std::string(64, '0'), std::string(64, 'f'));
    auto work = std::make_shared<EthashWork>();
    work->job = ParseEthashJob(block).job;
    work->job.target[0] = 0x1f;
    work->block = &block;
    work->cache = cache;
    const auto board = std::make_shared<CJobBoard>();
    board->Publish(work);
    CFakeHost host;
    QvGpuRecord gpu{};
    {
        CCudaWorker worker(driver.Driver(), {gpu, 0, 1}, board, host);
        EXPECT_TRUE(host.collector.WaitForShares(40));
        EXPECT_EQ(driver.SearchStreams(), 2u);
        EXPECT_EQ(driver.LargestOverlap(), 2u);
        EXPECT_EQ(driver.GridsBehindOthers(), 0u);
        board->Close();
    }
    EXPECT_GE(driver.Calls("cuStreamQuery"), driver.Calls("cuLaunchKernel")) << "left in the driver's batch";
    for (const std::string& fault : driver.Faults())
        ADD_FAILURE() << fault;
    EXPECT_EQ(gpu.statistics.reserved0, 0u) << "hardware errors";
    EXPECT_EQ(driver.Contexts() + driver.Allocations(), 0u);
}

}  // namespace
