#include "config/GpuCounters.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(GpuCountersTest, CountersAreSummedAndTheLatestTimeKept) {
    QvGpuRecord gpus[2] = {};
    std::uint64_t value = 1;
    for (QvGpuRecord& gpu : gpus) {
        CMiningStatistics& statistics = gpu.statistics;
        for (std::uint64_t* word : {&statistics.accepted, &statistics.rejected, &statistics.stale})
            *word = value++;
        statistics.hashSpeed = std::numeric_limits<std::uint64_t>::max() - 1;
    }
    gpus[0].statistics.lastTime = 9;
    gpus[1].statistics.lastTime = 3;
    QvGpuRecord* const records[] = {&gpus[0], &gpus[1]};
    const GpuCounters sum = SumGpuCounters(records);
    EXPECT_EQ(sum.accepted, 5u);
    EXPECT_EQ(sum.rejected, 7u);
    EXPECT_EQ(sum.stale, 9u);
    EXPECT_EQ(sum.hashSpeed, std::numeric_limits<std::uint64_t>::max()) << "a sum does not start again at 0";
    EXPECT_EQ(sum.lastShare.ticks, 9);
    EXPECT_EQ(SumGpuCounters({}).hashSpeed, 0u);
}

}  // namespace
