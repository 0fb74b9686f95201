#include <gtest/gtest.h>

#include <vector>

#include "support/LineBudget.h"
#include "support/LogBatch.h"
#include "support/TrafficLine.h"

namespace {

using namespace std::string_view_literals;

TEST(TrafficLine, MarksDoublesTrimsAndAppendsTheError) {
    constexpr struct {
        bool sent;
        std::string_view text;
        std::uint32_t error;
        std::string_view line;
    } kCases[] = {
        {false, "a%b\n", 0, "<- a%%b"},
        {true, "", 0, "->"},
        {true, "%%%", 0, "-> %%%%%%"},
        {false, "x\x01y\x01", 0, "<- x|y|"},
        {false, "keep \t inside \t\r\n", 0, "<- keep \t inside"},
        {true, "x", 255, "-> x - Error:000000FF"},
        {true, "\r\n", 0xFFFFFFFFu, "-> - Error:FFFFFFFF"},
        {false, "zero\0inside"sv, 0, "<- zero\0inside"sv},
    };
    for (const auto& c : kCases) {
        std::vector<char> buffer(TrafficLineBytes(c.text, c.error));  // exactly: a write past the end is caught
        EXPECT_EQ(WriteTrafficLine(buffer, c.sent, c.text, c.error), c.line);
    }
}

TEST(LogBatch, RefusesWhatWouldPassItsLimit) {
    CLogBatch batch;
    const std::string large(CLogBatch::kMaxBytes / 4, 'x');
    for (const bool taken : {true, true, true, false})  // the fourth does not fit because of what is stored with each
        EXPECT_EQ(batch.Add({{1}, LogTextKind::Narrow, large}), taken);
    EXPECT_TRUE(batch.Add({{1}, LogTextKind::Narrow, "a short one still fits"}));
    batch.Clear();
    EXPECT_TRUE(batch.Add({{1}, LogTextKind::Narrow, large}));
}

TEST(LineBudget, HoldsALineOfEachInterval) {
    CLineBudget budget(2, 60);
    std::string taken;
    for (const TimeSpan now : {1000, 1001, 1002, 1059, 1060, 1061, 1500, 1501, 1559, 1560}) {
        const CLineBudget::Verdict verdict = budget.Take(now);
        taken += verdict.write ? std::to_string(verdict.left) : "-";
    }
    EXPECT_EQ(taken, "00--2-10-1") << "how many were left out before each";
}

}  // namespace
