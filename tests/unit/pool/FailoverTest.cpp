// What a session does about connections that fail.
#include <gtest/gtest.h>
#include <algorithm>
#include "SessionRecorder.h"

namespace {

using Events = CSessionRecorder::Events;

class Failover : public ::testing::Test {
  protected:
    void UsePools(std::size_t count) { recorder.UsePools(std::vector<PoolEntry>(count, MakePool(1, L"pool.example"))); }
    // The connection is established, logged in to and lost.
    Events LoginAndLoss() {
        session.Connected();
        recorder.Line(R"({"id":1,"result":true,"error":null})");
        recorder.Line(R"({"id":4,"result":["0x1"]})");
        session.Disconnected();
        return recorder.Take();
    }
    void FailToConnect(int times) {
        for (int attempt = 0; attempt < times; ++attempt)
            session.ConnectError("Connect failed", 10061);
    }
    CSessionRecorder recorder;
    CStratumSession& session = recorder.session;
};

TEST_F(Failover, TheFourthConnectErrorInARowSwitchesOnceUntilTheCountIsCleared) {
    const std::string line = "log Connect error: Connect failed(10061)";
    UsePools(1);
    FailToConnect(10);
    EXPECT_EQ(recorder.Take(), Events(10, line)) << "there is no other pool";
    UsePools(2);
    for (int round = 0; round < 3; ++round) {
        LoginAndLoss();
        FailToConnect(2);
    }
    EXPECT_EQ(session.PoolIndex(), 0u) << "a connection clears the count";
    recorder.Take();
    FailToConnect(6);
    EXPECT_EQ(recorder.Take(), (Events{line, "switch", line, line, line, line, line}));
    EXPECT_EQ(session.PoolIndex(), 1u);
    session.Reset();
    FailToConnect(4);
    EXPECT_EQ(recorder.Take().back(), "switch");
    EXPECT_EQ(session.PoolIndex(), 0u) << "wraps behind the last pool";
}

TEST_F(Failover, TheFourthDisconnectSwitchesAndCountsAnew) {
    for (const std::size_t pools : {1u, 2u, 3u}) {
        UsePools(pools);
        for (int loss = 1; loss <= 8; ++loss) {
            EXPECT_EQ(LoginAndLoss(), loss % 4 == 0 ? (Events{"log Disconnected", "switch"}) : Events{"log Disconnected"});
            if (loss % 4 == 0) session.Reset();  // as the manager does
        }
        EXPECT_EQ(session.PoolIndex(), 2 % pools);
        recorder.clock.now.ticks += kTicksPerDay;
    }
}

TEST_F(Failover, DisconnectsAreForgottenByAConnectionAfterTwoMinutes) {
    UsePools(2);
    const std::pair<TimeSpan, std::uint32_t> cases[] = {{2 * kTicksPerMinute + 1, 0}, {2 * kTicksPerMinute, 1}};
    for (const auto& [pause, index] : cases) {
        recorder.clock.now.ticks += kTicksPerDay;
        for (int loss = 0; loss < 3; ++loss)
            LoginAndLoss();
        recorder.clock.now.ticks += pause;
        LoginAndLoss();
        EXPECT_EQ(session.PoolIndex(), index);
    }
}

// With a backup pool the transport reports each loss as a connect error first.
TEST_F(Failover, LossesBeforeTheLoginTryTheModesAndThenTheOtherPool) {
    const char* const methods[] = {"eth_submitLogin", "\"params\":[]", "EthereumStratum", "null,\"pool.example\""};
    UsePools(2);
    for (int loss = 0; loss < 4; ++loss) {
        session.Connected();
        EXPECT_NE(recorder.Take().back().find(methods[loss]), std::string::npos) << loss;
        session.ConnectError("Connection lost", 0);
        session.Disconnected();
        Events expected = {"log Connect error: Connection lost(0)", "log Disconnected"};
        if (loss == 3) expected.emplace_back("switch");
        EXPECT_EQ(recorder.Take(), expected) << loss;
        if (loss < 3) {
            EXPECT_EQ(session.RetryDelay(), 0u);
        }
    }
    EXPECT_EQ(session.PoolIndex(), 1u);
}

// The first round of modes is quick; the second has pauses, and only after it, a minute after the first loss, mining stops.
TEST_F(Failover, AnOnlyPoolThatSpeaksNoModeStopsMiningAfterASecondRound) {
    UsePools(1);
    const TimeSpan begin = recorder.clock.now.ticks;
    std::vector<std::uint32_t> pauses;
    for (int loss = 0; loss < 8; ++loss) {
        session.Connected();
        session.Disconnected();
        const Events events = recorder.Take();
        EXPECT_EQ(events.back() == "stop-mining", loss == 7) << loss;
        pauses.push_back(session.RetryDelay());
        recorder.Pass(pauses.back() * kTicksPerMillisecond);
    }
    EXPECT_EQ(pauses, (std::vector<std::uint32_t>{0, 0, 0, 5000, 10000, 20000, 30000, 30000}));
    EXPECT_GE(recorder.clock.now.ticks - begin, kTicksPerMinute);
    CSessionRecorder fee(StratumKind::Fee);
    fee.UsePools({MakePool(1, L"pool.example")});
    for (int loss = 0; loss < 40; ++loss) {
        fee.session.Connected();
        fee.session.Disconnected();
        fee.Pass(30 * kTicksPerSecond);
    }
    const Events events = fee.Take();
    EXPECT_EQ(std::count(events.begin(), events.end(), "stop-mining"), 0) << "the developer's pool has no say";
}

TEST_F(Failover, APoolThatHasSettledIsAskedInItsModeAgainAndNeverStopsMining) {
    UsePools(1);
    session.Connected();
    session.Disconnected();  // plain from here on
    LoginAndLoss();
    session.Reset();
    int inItsMode = 0;
    for (int loss = 0; loss < 40; ++loss) {
        session.Connected();
        const Events events = recorder.Take();
        inItsMode += events.back().find("\"params\":[]") != std::string::npos ? 1 : 0;
        session.Disconnected();
        EXPECT_EQ(recorder.Take(), Events{});
        recorder.Pass(30 * kTicksPerSecond);
    }
    EXPECT_GE(inItsMode, 20);
}

// What a pool that takes connections and never lets one last is asked.
TEST_F(Failover, PausesGrowUntilAConnectionHasLasted) {
    UsePools(1);
    const auto lose = [&](bool withJob, TimeSpan after) {
        session.Connected();
        recorder.Line(R"({"id":1,"result":true})");
        if (withJob) recorder.Line(R"({"id":4,"result":["0x1"]})");
        recorder.Pass(after);
        session.Disconnected();
        const std::uint32_t pause = session.RetryDelay();
        recorder.Pass(pause * kTicksPerMillisecond);
        return pause / 1000;
    };
    for (const std::uint32_t pause : {1u, 2u, 3u, 5u, 10u, 15u, 15u, 15u})
        EXPECT_EQ(lose(false, kTicksPerSecond), pause);
    EXPECT_EQ(lose(true, 2 * kTicksPerMinute), 0u) << "at once after one that gave work";
    EXPECT_EQ(lose(true, kTicksPerSecond), 1u) << "but not again and again";
    session.ConnectError("Connect failed", 10061);
    EXPECT_EQ(session.RetryDelay(), 2000u);
}

// A server that swallows everything holds the other pools up for less than a minute.
TEST_F(Failover, ASlowPoolsTurnEndsByTime) {
    UsePools(2);
    const auto fail = [&] {
        recorder.Pass(20 * kTicksPerSecond);
        session.ConnectError("Connect timed out", 10060);
        const Events events = recorder.Take();
        return std::count(events.begin(), events.end(), "switch") != 0;
    };
    EXPECT_FALSE(fail());
    EXPECT_TRUE(fail());
    session.Reset();
    EXPECT_FALSE(fail());
    EXPECT_TRUE(fail());
    session.Reset();
    EXPECT_TRUE(fail()) << "once every pool has had its turn, each try is one";
}

struct Deadline {
    std::vector<const char*> lines;
    int shares;
    TimeSpan limit;
    const char* text;
};

TEST(Deadlines, EndAConnectionThatGivesNothing) {
    const char* const login = R"({"id":1,"result":true})";
    const char* const authorized = R"({"id":2,"result":true})";
    const char* const job = R"({"method":"mining.notify","params":["1"]})";
    const Deadline cases[] = {
        {{}, 0, 10 * kTicksPerSecond, "drop No answer to the login"},
        {{login}, 0, 30 * kTicksPerSecond, "drop No answer to the login"},
        {{login, job}, 0, 30 * kTicksPerSecond, "drop No answer to the login"},
        {{login, authorized}, 0, 2 * kTicksPerMinute, "drop No job for 2 minutes"},
        {{login, authorized, job}, 2, 10 * kTicksPerMinute, "drop The pool has been silent for 10 minutes"},
        {{login, authorized, job}, 3, kTicksPerMinute, "drop The pool does not answer shares"}};
    for (const Deadline& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " after " + std::to_string(c.lines.size()) + " lines");
        CSessionRecorder recorder;
        recorder.UsePools({MakePool(1, L"pool.example", 7)});
        recorder.session.Connected();
        for (const char* const line : c.lines)
            recorder.Line(line);
        for (int share = 0; share < c.shares; ++share)
            recorder.session.SubmitShare("{\"id\":" + std::to_string(65536 + share) + "}\n");
        recorder.Take();
        recorder.Pass(c.limit - 1);
        EXPECT_LE(recorder.session.Tick(), 1000u);
        EXPECT_EQ(recorder.Take(), Events{});
        recorder.Pass(1);
        recorder.session.Tick();
        EXPECT_EQ(recorder.Take(), Events{c.text});
        recorder.session.Tick();
        EXPECT_EQ(recorder.Take(), Events{}) << "told twice";
        recorder.session.ConnectError("as dropped", 10060);
        recorder.session.Disconnected();
        EXPECT_EQ("drop " + recorder.session.Status().poolFailures[0].text, c.text);
    }
}

// The first time it may be the connection's fault; a pool that answers no shares on the next one either has had its turn.
// Until it answers one it is not taken for sound, though it gives jobs.
TEST(Deadlines, APoolThatAnswersNoSharesIsLeftAfterASecondTry) {
    CSessionRecorder recorder;
    recorder.UsePools({MakePool(1, L"pool.example"), MakePool(2, L"backup.example")});
    const auto mine = [&](bool answered) {
        recorder.session.Connected();
        recorder.Line(R"({"id":1,"result":true})");
        recorder.Line(R"({"id":4,"result":["0x1"]})");
        for (int share = 0; share < 3000; ++share) {  // more than are remembered
            recorder.session.SubmitShare("{\"id\":" + std::to_string(65536 + share) + "}\n");
            if (answered) recorder.Line("{\"id\":" + std::to_string(65536 + share) + ",\"result\":true}");
            recorder.Pass(kTicksPerMinute / 2000);
        }
        recorder.Take();
        recorder.session.Tick();
        const bool dropped = recorder.Take() == Events{"drop The pool does not answer shares"};
        recorder.session.ConnectError("as dropped", 10060);
        recorder.session.Disconnected();
        const Events events = recorder.Take();
        return std::string(dropped ? "dropped" : "kept") + (events.back() == "switch" ? ", left" : "");
    };
    EXPECT_EQ(mine(true), "kept");
    EXPECT_EQ(mine(false), "dropped");
    EXPECT_EQ(recorder.session.Status().doubt.text, "The pool does not answer shares");
    EXPECT_EQ(mine(true), "kept");
    EXPECT_EQ(recorder.session.Status().doubt.text, "");
    EXPECT_EQ(mine(false), "dropped");
    EXPECT_EQ(mine(false), "dropped, left");
    recorder.session.Reset();
    EXPECT_EQ(recorder.session.Status().doubt.text, "") << "of the other pool";
}

TEST_F(Failover, AConnectionEndedFromThisSideIsNoTroubleOfThePool) {
    UsePools(1);
    for (int times = 0; times < 8; ++times) {
        session.Connected();
        EXPECT_NE(recorder.Take().back().find("eth_submitLogin"), std::string::npos);
        session.Closed();
        EXPECT_EQ(recorder.Take(), Events{});
    }
    EXPECT_FALSE(session.IsReady());
}

TEST_F(Failover, UntilTheResetLoginsAndErrorsBelongToThePoolThatIsConnected) {
    UsePools(2);
    session.Activate();
    FailToConnect(4);
    ASSERT_EQ(session.PoolIndex(), 1u);
    recorder.Line(R"({"id":9,"result":null,"error":[21,"Stale"]})");
    EXPECT_EQ(recorder.pools[0]->lastError.Get().code, 21);
    EXPECT_EQ(recorder.pools[1]->lastError.Get().code, 0);
    EXPECT_EQ(session.WorkBlock().walletUser, recorder.pools[0]->WalletUser);
    session.Reset();
    EXPECT_EQ(session.WorkBlock().walletUser, recorder.pools[1]->WalletUser);
    EXPECT_EQ(session.WorkBlock().password, recorder.pools[1]->Password);
}

TEST_F(Failover, PoolsLiveAsLongAsTheSessionUsesThem) {
    UsePools(1);
    const std::weak_ptr<const PoolEntry> pool = recorder.pools[0];
    recorder.pools.clear();
    EXPECT_FALSE(pool.expired());
    session.SetPools({});
    EXPECT_TRUE(pool.expired());
    EXPECT_STREQ(session.WorkBlock().walletUser, L"");
}

}  // namespace
