#include "config/GpuCounters.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(GpuCountersTest, ASumDoesNotStartAgainAtZero) {
    QvGpuRecord gpu = {};
    gpu.statistics.hashSpeed = std::numeric_limits<std::uint64_t>::max() - 1;
    QvGpuRecord* const records[] = {&gpu, &gpu};
    EXPECT_EQ(SumGpuCounters(records).hashSpeed, std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(SumGpuCounters({}).hashSpeed, 0u);
}

}  // namespace
