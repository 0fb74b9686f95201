#include <gtest/gtest.h>

#include <limits>

#include "common/Time.h"

namespace {

TEST(SpanText, ShowsSignDaysAndMillisecondsOnlyWhenThereAreAny) {
    constexpr struct {
        TimeSpan span;
        bool milliseconds;
        const wchar_t* text;
    } kCases[] = {
        {0, false, L"00:00:00"},
        {kTicksPerDay + kTicksPerSecond, false, L"1 00:00:01"},
        {kTicksPerDay - 1, false, L"23:59:59"},
        {kTicksPerDay - 1, true, L"23:59:59.999"},
        {-(12 * kTicksPerDay + 7 * kTicksPerMillisecond), true, L"-12 00:00:00.007"},
        {9'999, true, L"00:00:00.000"},
        {std::numeric_limits<TimeSpan>::min(), true, L"-10675199 02:48:05.477"},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(SpanText(c.span, c.milliseconds), c.text) << c.span;
}

TEST(LocalTime, SubtractsTheBiasThatApplies) {
    // Central Europe: one hour ahead of UTC, another one in summer. A zone whose standard time has a bias, too.
    constexpr ZoneBias kBerlin{-60, 0, -60};
    constexpr ZoneBias kOdd{300, 15, -45};
    constexpr struct {
        ZoneBias zone;
        std::uint32_t result;
        std::int64_t aheadMinutes;
    } kCases[] = {
        {kBerlin, 0, 60}, {kBerlin, 1, 60}, {kBerlin, 2, 120},         {kOdd, 0, -300},
        {kOdd, 1, -315},  {kOdd, 2, -255},  {kOdd, 0xFFFFFFFFu, -300},
    };
    constexpr ddt_datetime kUtc{130'000'000'000'000'000};
    for (const auto& c : kCases)
        EXPECT_EQ(LocalFromUtc(kUtc, c.zone, c.result).ticks - kUtc.ticks, c.aheadMinutes * kTicksPerMinute) << c.result;
}

}  // namespace
