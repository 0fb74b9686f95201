#include "mining/HashRateReport.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

const std::string kId = "0x" + std::string(64, 'c');

std::string Line(const std::string& rate, const std::string& id) {
    return R"({"id":5,"jsonrpc":"2.0","method":"eth_submitHashrate","params":[")" + rate + R"(", ")" + id + "\"]}\n";
}

TEST(HashRateReportTest, RateIsA256BitNumberWithThePoolsPrefix) {
    EXPECT_EQ(HashRateRequest(1, kId, true), Line("0x" + std::string(63, '0') + "1", kId));
    EXPECT_EQ(HashRateRequest(0xFEDCBA9876543210, kId, false),
              Line(std::string(48, '0') + "fedcba9876543210", kId.substr(2)));
    EXPECT_EQ(HashRateRequest(std::numeric_limits<std::uint64_t>::max(), kId, true),
              Line("0x" + std::string(48, '0') + std::string(16, 'f'), kId));
}

TEST(HashRateReportTest, CountersAreSummedAndTheLatestTimeKept) {
    QvGpuRecord gpus[2] = {};
    std::uint64_t value = 1;
    for (QvGpuRecord& gpu : gpus) {
        CMiningStatistics& statistics = gpu.statistics;
        for (std::uint64_t* word : {&statistics.accepted, &statistics.rejected, &statistics.stale, &statistics.solSpeed})
            *word = value++;
        statistics.hashSpeed = std::numeric_limits<std::uint64_t>::max() - 1;
    }
    gpus[0].statistics.lastTime = 9;
    gpus[1].statistics.lastTime = 3;
    QvGpuRecord* const records[] = {&gpus[0], &gpus[1]};
    const StatisticsSum sum = SumStatistics(records);
    EXPECT_EQ(sum.accepted, 6u);
    EXPECT_EQ(sum.rejected, 8u);
    EXPECT_EQ(sum.stale, 10u);
    EXPECT_EQ(sum.solSpeed, 12u);
    EXPECT_EQ(sum.hashSpeed, std::numeric_limits<std::uint64_t>::max()) << "a sum does not start again at 0";
    EXPECT_EQ(sum.lastTime, 9);
    EXPECT_EQ(SumStatistics({}).hashSpeed, 0u);
}

}  // namespace
