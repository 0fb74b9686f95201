// What reaches the plug-in, and when.
#include <gtest/gtest.h>
#include <atomic>
#include <cstdlib>
#include <thread>
#include "SessionRecorder.h"

namespace {

using Events = CSessionRecorder::Events;

TEST(Activation, ReplaysWhatIsKnown) {
    for (int known = 0; known < 16; ++known) {
        SCOPED_TRACE(known);
        CSessionRecorder recorder;
        recorder.UsePools({MakePool(1, L"pool.example", 7)});
        const char* const lines[] = {R"({"id":1,"result":true})", R"({"method":"mining.notify","params":["1"]})",
                                     R"({"method":"mining.set_difficulty","params":[1]})",
                                     R"({"method":"mining.set_extranonce","params":["ab"]})"};
        for (int i = 0; i < 4; ++i) {
            if ((known >> i & 1) != 0) recorder.Line(lines[i]);
        }
        Events expected = {"post 2408"};
        if ((known & 1) != 0) {
            expected.emplace_back("post 2402");
            if ((known & 2) != 0) expected.emplace_back("post 2405");
            expected.emplace_back("post 2406");
            if ((known & 8) != 0) expected.emplace_back("post 2407");
        }
        recorder.session.Activate();
        EXPECT_EQ(recorder.Take(), expected);
        EXPECT_FALSE(recorder.session.IsPaused());
    }
}

TEST(Activation, APausedSessionPostsNoWorkButFollowsThePool) {
    CSessionRecorder recorder;
    EXPECT_TRUE(recorder.session.IsPaused()) << "from the start";
    recorder.LogIn(ProtocolMode::NiceHash);
    recorder.session.Activate();
    recorder.session.Pause();
    recorder.Take();
    for (const char* const line :
         {R"({"method":"mining.notify","params":["5"]})", R"({"method":"mining.set_difficulty","params":[8]})",
          R"({"method":"mining.set_extranonce","params":["cd"]})"}) {
        EXPECT_EQ(recorder.Line(line), Events{}) << line;
    }
    EXPECT_STREQ(recorder.session.WorkBlock().jobId, "5");
    EXPECT_STREQ(recorder.session.WorkBlock().extranonce, "cd");
    for (int loss = 0; loss < 4; ++loss) {
        recorder.session.Connected();
        recorder.Line(R"({"id":1,"result":true})");
        recorder.session.Disconnected();
    }
    EXPECT_EQ(recorder.Take().back(), "switch") << "pausing concerns work only";
}

// One session fed by its connection's thread while the manager's thread pauses and activates it.
class CWorkCounter final : public CQuietHost, public IStratumOutput {
  public:
    std::uint32_t SendText(std::string_view) override { return 0; }
    void DropConnection(const std::string&, std::uint32_t) override {}
    void PostWork(unsigned message) override {
        if (session.IsPaused() && message != QV_MSG_ACTIVATE) ++whilePaused;
        if (message == QV_MSG_NEW_JOB) announced = std::atoi(session.WorkBlock().jobId);
    }
    void PostPoolSwitch() override {}
    void LogText(const std::string&) override {}

    CHandClock clock;
    CStratumSession session{StratumKind::User, *this, *this, clock, this};
    std::atomic<int> announced = 0;  // the job that the block held when a job was last announced
    std::atomic<int> whilePaused = 0;
};

TEST(Activation, PausingWhileJobsArriveHoldsAtOnceAndLosesNone) {
    constexpr int kJobs = 50'000;
    CWorkCounter counter;
    CStratumSession& session = counter.session;
    session.SetPools({std::make_shared<const PoolEntry>(MakePool(1, L"pool.example", 7))});
    session.LineReceived(R"({"id":1,"result":true})");

    std::atomic<bool> done = false;
    std::thread connection([&] {
        for (int job = 1; job <= kJobs; ++job) {
            session.LineReceived(Join({R"({"method":"mining.notify","params":[")", std::to_string(job), "\"]}"}));
        }
        done = true;
    });
    while (!done) {
        session.Pause();
        std::this_thread::yield();
        session.Activate();
    }
    connection.join();
    EXPECT_EQ(counter.announced, kJobs);
    EXPECT_EQ(counter.whilePaused, 0);
}

}  // namespace
