// What a session says of itself, and when a concern becomes trouble.
#include <gtest/gtest.h>
#include "../pool/SessionRecorder.h"
#include "mining/PlugInMessages.h"
#include "mining/TroubleWatch.h"

namespace {

constexpr TimeSpan kSecond = kTicksPerSecond;

SessionFacts Facts(ConnectionPhase phase, std::vector<ConnectionFailure> failures = {{}, {}}) {
    SessionFacts facts;
    facts.connection.phase = phase;
    facts.connection.mode = ProtocolMode::Plain;
    facts.connection.target = "1.2.3.4:5";
    facts.connection.retryAt = 5 * kSecond;
    facts.connection.poolFailures = std::move(failures);
    facts.poolNames = {L"Main", L"Backup"};
    return facts;
}

TEST(SessionState, IsToldInWordsAndIsAConcernUnlessItMines) {
    const ConnectionFailure refused{TroubleCode::NotConnected, "Connection refused"};
    const ConnectionFailure unknown{TroubleCode::HostNotFound, "Host not found: pool.example"};
    struct Case {
        SessionFacts facts;
        const wchar_t* text;
        const wchar_t* concern;  // null: none
    };
    SessionFacts developer = Facts(ConnectionPhase::Connecting, {refused, {}});
    developer.developerTime = true;
    developer.developerLeft = 42 * kSecond;
    SessionFacts doubtful = Facts(ConnectionPhase::Working);
    doubtful.connection.doubt = {TroubleCode::SharesUnanswered, "No answers"};
    const Case cases[] = {
        {Facts(ConnectionPhase::Working), L"mining at 1.2.3.4:5 (stratum)", nullptr},
        {developer, L"developer's time, 42 s left", nullptr},
        {doubtful, L"mining at 1.2.3.4:5 (stratum): No answers", L"No answers; trying again"},
        {Facts(ConnectionPhase::LoggingIn), L"logging in (stratum) at 1.2.3.4:5", L"No answer to the login"},
        {Facts(ConnectionPhase::WaitingForJob), L"logged in at 1.2.3.4:5, waiting for a job", L"No job since the login"},
        {Facts(ConnectionPhase::TryingAgain, {refused, {}}), L"trying again in 4 s: Connection refused",
         L"Connection refused; trying again"},
        {Facts(ConnectionPhase::Connecting, {refused, unknown}),
         L"connecting to 1.2.3.4:5: Connection refused; Backup: Host not found: pool.example",
         L"Connection refused; Backup: Host not found: pool.example; trying again"},
        {Facts(ConnectionPhase::Resolving, {{}, unknown}), L"looking up 1.2.3.4:5: Host not found: pool.example",
         L"Host not found: pool.example; trying again"}};
    for (const Case& c : cases) {
        const SessionState state = DecideSessionState(c.facts, kSecond);
        EXPECT_EQ(SessionStateText(state), c.text);
        const auto concern = ConcernOf(state);
        ASSERT_EQ(concern.has_value(), c.concern != nullptr) << c.text;
        if (concern) {
            EXPECT_EQ(concern->text, c.concern);
        }
    }
}

TEST(GpuActivity, ComesFromTheSpeedAndThePlugInsLastMessage) {
    struct Case {
        std::vector<const wchar_t*> lines;
        std::uint64_t speed;
        TimeSpan age;
        const wchar_t* text;
    };
    const Case cases[] = {
        {{}, 0, 0, L"not hashing"},
        {{L"Etchash: GPU 1: not hashing: no memory"}, 0, 0, L"not hashing"},
        {{L"Etchash: GPU 0: not hashing: no memory"}, 0, 0, L"not hashing: no memory"},
        {{L"Etchash: GPU 0: not hashing: no memory"}, 5, 0, L"hashing"},
        {{L"Etchash: GPU 0: making the dataset of epoch 3 (1 MB)"}, 0, 0, L"preparing"},
        {{L"E: GPU 0: making it", L"E: GPU 0: the dataset of epoch 3: 45 %"}, 0, kSecond, L"preparing (45 %)"},
        {{L"E: GPU 0: the dataset of epoch 3: 45 %"}, 0, 3 * kTicksPerMinute, L"not hashing: the dataset of epoch 3: 45 %"},
        {{L"E: GPU 0: ready", L"E: making the light cache of epoch 3"}, 0, 0, L"preparing"},
        {{L"E: GPU 0: lost: x", L"E: making the light cache of epoch 3"}, 0, 0, L"not hashing: lost: x"},
        {{L"E: GPU 0: x", L"E: making the light cache", L"E: the light cache is done in 3 s"}, 0, 0, L"not hashing: x"},
        {{L"E: GPU 12345678901: far away", L"E: GPU : none"}, 0, 0, L"not hashing: GPU : none"}};
    for (const Case& c : cases) {
        CPlugInMessages messages;
        TimeSpan time = kSecond;
        for (const wchar_t* const line : c.lines)
            messages.Add(line, time++);
        const auto latest = messages.Latest(0);
        EXPECT_EQ(GpuActivityText(DecideGpuActivity(c.speed, latest ? &*latest : nullptr, time + c.age)), c.text);
    }
    EXPECT_EQ(
        ConcernOf(3, {.kind = GpuActivity::Kind::NotHashing, .percent = -1, .reason = L"not hashing: no memory"})->text,
        L"GPU 3 is not hashing: no memory");
}

class Watch : public testing::Test {
  protected:
    // What changed, as "+text" and "-text", after so much time with these concerns.
    std::string Look(TimeSpan later, const std::vector<Concern>& concerns) {
        clock.now.ticks += later;
        std::string changes;
        for (const CTroubleWatch::Change& change : watch.Look(concerns, clock))
            changes.append(change.began ? "+" : "-").append(change.error.text);
        return changes;
    }
    static Concern Of(const wchar_t* text, std::int32_t gpu = -1, bool isCertain = false) {
        return {TroubleCode::NotConnected, gpu, text, isCertain};
    }
    CHandClock clock;
    CTroubleWatch watch;
};

TEST_F(Watch, TellsWhatLastsAndWhenItIsOver) {
    EXPECT_EQ(Look(0, {Of(L"a")}), "");
    EXPECT_EQ(Look(9 * kSecond, {Of(L"b")}), "") << "not yet";
    EXPECT_EQ(Look(1 * kSecond, {Of(L"b")}), "+b") << "ten seconds of trouble, whatever its reason";
    EXPECT_EQ(Look(60 * kSecond, {Of(L"b")}), "") << "told once";
    EXPECT_EQ(Look(1, {Of(L"c")}), "");
    EXPECT_EQ(Look(5 * kSecond, {Of(L"b")}), "") << "a reason that passes is not told";
    EXPECT_EQ(Look(1, {Of(L"c")}), "");
    EXPECT_EQ(Look(10 * kSecond, {Of(L"c")}), "-b+c");
    EXPECT_EQ(watch.Lasting().size(), 1u);
    EXPECT_EQ(Look(1, {Of(L"c"), Of(L"no plug-in", 0, true), Of(L"x", 1)}), "+no plug-in")
        << "certain from the first second";
    EXPECT_EQ(Look(1, {Of(L"no plug-in", 0, true)}), "-c");
    EXPECT_EQ(Look(20 * kSecond, {Of(L"c")}), "-no plug-in") << "what is new has to last anew";
    EXPECT_EQ(watch.End(clock).size(), 0u);
    Look(1, {Of(L"q\"u\\o\nte", 0, true)});
    EXPECT_STREQ(watch.Lasting()[0].text, "q'u/o te") << "fit for a report";
    EXPECT_STREQ(OverError(watch.Lasting()[0], clock.now).text, "Over: q'u/o te");
    EXPECT_EQ(watch.End(clock).size(), 1u);
}

}  // namespace
