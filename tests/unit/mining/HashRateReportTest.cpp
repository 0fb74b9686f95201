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

}  // namespace
