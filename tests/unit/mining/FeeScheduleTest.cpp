#include "mining/FeeSchedule.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr std::uint64_t kSecond = 10'000'000;

TEST(FeeScheduleTest, OneHundredthIsOwedAndNeverMoreThanFourMinutes) {
    struct Case {
        std::uint64_t mined, owed;
    };
    constexpr Case cases[] = {
        {0, 0},
        {99, 0},
        {199, 1},
        {100 * kSecond, kSecond},
        {9000 * kSecond, 90 * kSecond},
        {24000 * kSecond, 240 * kSecond},
        {24100 * kSecond, 240 * kSecond},
        {std::numeric_limits<std::uint64_t>::max(), 240 * kSecond},
    };
    for (const Case& value : cases)
        EXPECT_EQ(FeeOwed(value.mined), value.owed) << value.mined;
}

struct UserCase {
    std::int32_t algorithm;
    std::uint64_t minedSeconds, activeSeconds;
    bool order, connect, change;
};

TEST(FeeScheduleTest, UserTimeDecidesWhenThePeriodComes) {
    constexpr UserCase cases[] = {
        {1, 0, 0, false, false, false},       {1, 3000, 3000, false, false, false},  // 60 s of the fee are left
        {1, 3030, 3030, true, false, false},  {1, 6000, 6000, true, false, false},   // 30 s are left
        {1, 6030, 6030, true, true, false},   {1, 8900, 8900, true, true, false},    // exactly 1 s is left
        {1, 8910, 8910, true, true, true},    {1, 90000, 0, false, false, false},    // just came back to the user
        {1, 90000, 869, true, false, false},                                         // 31 s of the 15 minutes are left
        {1, 90000, 870, true, false, false},  {1, 90000, 871, true, true, false},   {1, 90000, 900, true, true, true},
        {5, 8910, 8910, false, false, false}, {6, 15030, 15030, true, true, false}, {6, 17910, 17910, true, true, true},
        {7, 8910, 8910, true, true, true},
    };
    for (const UserCase& value : cases) {
        SCOPED_TRACE(testing::Message() << value.algorithm << ": " << value.minedSeconds << ", " << value.activeSeconds);
        const FeeTimes times = {value.minedSeconds * kSecond, value.activeSeconds * kSecond, 0};
        const FeeDecision decision = DecideDuringUser(times, FeePeriodTarget(value.algorithm));
        EXPECT_EQ(decision.orderPools, value.order);
        EXPECT_EQ(decision.connectFee, value.connect);
        EXPECT_EQ(decision.changeSource, value.change);
    }
}

TEST(FeeScheduleTest, ThePeriodEndsWhenTheOwedTimeIsMined) {
    const auto ends = [](std::uint64_t userSeconds, std::uint64_t feeSeconds) {
        return DecideDuringFee({userSeconds * kSecond, 0, feeSeconds * kSecond}).changeSource;
    };
    EXPECT_FALSE(ends(8910, 60));
    EXPECT_TRUE(ends(8910, 89));
    EXPECT_TRUE(ends(8910, 3600)) << "more than owed";
    EXPECT_FALSE(ends(1'000'000, 239)) << "240 s at most, however long the user mined";
    EXPECT_TRUE(ends(1'000'000, 240));
}

}  // namespace
