#include "guard/GuardPolicy.h"

#include <gtest/gtest.h>

namespace {

constexpr TimeSpan kSecond = kTicksPerSecond;
constexpr TimeSpan kMinute = kTicksPerMinute;

// How long the miner may go on with that answer, asked every five seconds from start on; 0: for ever (20 minutes).
TimeSpan EndedAfter(CGuardPolicy& policy, MinerAnswer answer, TimeSpan start) {
    for (TimeSpan now = start; now < start + 20 * kMinute; now += 5 * kSecond) {
        if (policy.IsHung(answer, now)) return now - start;
    }
    return 0;
}

TEST(GuardPolicyTest, AMinerThatDoesNotAnswerIsEndedAfterAMinute) {
    constexpr TimeSpan kStart = 7 * kMinute;
    CGuardPolicy policy;
    policy.Started(kStart);
    EXPECT_EQ(EndedAfter(policy, MinerAnswer::NoWindow, kStart), 6 * kMinute - 5 * kSecond) << "five minutes to start up";
    policy.Started(kStart);
    EXPECT_EQ(EndedAfter(policy, MinerAnswer::Silent, kStart), kMinute) << "a window that is there has to answer";
    policy.Started(kStart);
    EXPECT_EQ(EndedAfter(policy, MinerAnswer::Answers, kStart), 0);
    // Its window has gone, and with it the start-up's patience.
    EXPECT_FALSE(policy.IsHung(MinerAnswer::Answers, kStart + kMinute));
    EXPECT_EQ(EndedAfter(policy, MinerAnswer::NoWindow, kStart + kMinute), kMinute);
    // One answer is enough to begin anew.
    policy.Started(kStart);
    EXPECT_FALSE(policy.IsHung(MinerAnswer::Silent, kStart + 55 * kSecond));
    EXPECT_FALSE(policy.IsHung(MinerAnswer::Answers, kStart + 59 * kSecond));
    EXPECT_FALSE(policy.IsHung(MinerAnswer::Silent, kStart + 118 * kSecond));
    EXPECT_TRUE(policy.IsHung(MinerAnswer::Silent, kStart + 119 * kSecond));
}

TEST(GuardPolicyTest, PausesGrowAndTheEleventhEndInAnHourIsTheLast) {
    CGuardPolicy policy;
    TimeSpan now = 0;
    for (std::size_t i = 1; i <= 10; ++i) {
        policy.Started(now);
        const GuardDecision next = policy.Ended(false, now += kSecond);
        ASSERT_EQ(next.step, GuardStep::Restart) << i;
        EXPECT_EQ(next.pause, (i == 1 ? 5 : i == 2 ? 30 : 120) * kSecond) << i;
        EXPECT_EQ(next.restarts, i);
        now += next.pause;
    }
    CGuardPolicy patient = policy;
    policy.Started(now);
    EXPECT_EQ(policy.Ended(true, now).step, GuardStep::Stop) << "a person closed it";
    EXPECT_EQ(policy.Ended(false, now).step, GuardStep::GiveUp);

    // Fifty minutes later the first of them lie more than an hour back; the pause stays long.
    patient.Started(now);
    const GuardDecision later = patient.Ended(false, now + 50 * kMinute);
    EXPECT_EQ(later.step, GuardStep::Restart);
    EXPECT_EQ(later.pause, 120 * kSecond);
    // An hour of running well, and all is forgotten.
    patient.Started(now + 50 * kMinute);
    const GuardDecision well = patient.Ended(false, now + 110 * kMinute);
    EXPECT_EQ(well.pause, 5 * kSecond);
    EXPECT_EQ(well.restarts, 1u);
}

TEST(GuardOptionsTest, Table) {
    using enum GuardCommand;
    const std::vector<std::pair<std::vector<std::wstring>, GuardCommand>> table = {
        {{}, Watch},
        {{L"--install"}, Install},
        {{L"--remove"}, Remove},
        {{L"--help"}, Help},
        {{L"--version"}, Version},
        {{L"--instal"}, Invalid},
        {{L"--install", L"--remove"}, Invalid},
        {{L"--pause-unit-ms"}, Invalid},
        {{L"--pause-unit-ms", L"-1"}, Invalid},
        {{L"--pause-unit-ms", L"99999999999999999999"}, Invalid},
        {{L"--silence-ms", L"9x"}, Invalid},
        {{L"", L"1"}, Invalid},
        {{L"--pause-unit-ms", L"10", L"--silence-ms", L"600"}, Watch}};
    for (const auto& [arguments, command] : table)
        EXPECT_EQ(ParseGuardOptions(arguments).command, command) << testing::PrintToString(arguments);
    const GuardTimes times = ParseGuardOptions(table.back().first).times;
    EXPECT_EQ(times.pauses[2], 1200 * kTicksPerMillisecond);
    EXPECT_EQ(times.silence, 600 * kTicksPerMillisecond);
}

}  // namespace
