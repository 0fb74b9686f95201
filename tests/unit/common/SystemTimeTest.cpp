#include "common/SystemTime.h"

#include <gtest/gtest.h>

namespace {

// 2024-02-29 23:58:07.045 6 UTC
constexpr ddt_datetime kLeapDay{133'537'246'870'456'000};

TEST(SystemTime, WritesByPicture) {
    EXPECT_EQ(DateText(kLeapDay, L"yyyy-MM-dd"), L"2024-02-29");
    EXPECT_EQ(TimeText(kLeapDay, L"HH:mm:ss", L".%03d"), L"23:58:07.045");
    EXPECT_EQ(YearOf(kLeapDay), 2024u);
    EXPECT_FALSE(DateText(kLeapDay, nullptr).empty());
    EXPECT_FALSE(TimeText(kLeapDay, nullptr).empty());
}

TEST(SystemTime, NoTimeIsEmptyAndAnImpossibleOneIsNaT) {
    EXPECT_EQ(DateText({}, L"yyyy"), L"");
    EXPECT_EQ(TimeText({}, L"HH", L".%03d"), L"");
    constexpr ddt_datetime kNegative{-1};
    EXPECT_EQ(DateText(kNegative, L"yyyy"), L"");
    EXPECT_EQ(TimeText(kNegative, L"HH", L".%03d"), L"NaT");
    EXPECT_EQ(YearOf(kNegative), 0u);
}

TEST(SystemTime, CountsFromItsEpochInItsUnit) {
    const ddt_datetime utc = CurrentTime(TimeMode::Utc);
    EXPECT_GT(utc.ticks, 132'223'104'000'000'000);  // between 2020 and 2200: a wrong epoch or unit is off by far more
    EXPECT_LT(utc.ticks, 189'000'000'000'000'000);
}

}  // namespace
