// What a session does about connections that fail.
#include <gtest/gtest.h>
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
        session.Connected();
        FailToConnect(3);
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
TEST_F(Failover, LossesBeforeTheLoginTryTheModesAndThenTheOtherPoolOrStopMining) {
    const char* const methods[] = {"eth_submitLogin", "\"params\":[]", "EthereumStratum", "null,\"pool.example\"", "null"};
    for (const std::uint32_t pools : {1u, 2u}) {
        UsePools(pools);
        session.Reset();
        for (int loss = 0; loss < (pools == 1 ? 5 : 4); ++loss) {
            session.Connected();
            EXPECT_NE(recorder.Take().back().find(methods[loss]), std::string::npos) << loss;
            Events expected;
            if (pools == 2) {
                session.ConnectError("Connection lost", 0);
                expected = {"log Connect error: Connection lost(0)", "log Disconnected"};
            }
            session.Disconnected();
            if (loss >= 3) expected.emplace_back(pools == 1 ? "stop-mining" : "switch");
            EXPECT_EQ(recorder.Take(), expected) << loss;
        }
        EXPECT_EQ(session.PoolIndex(), pools - 1);
    }
}

TEST_F(Failover, TheModeStaysOnceASubscribeHasSucceededUntilAReset) {
    UsePools(1);
    session.Connected();
    session.Disconnected();  // plain from here on
    for (int loss = 0; loss < 3; ++loss)
        EXPECT_EQ(LoginAndLoss(), Events{"log Disconnected"});
    session.Connected();
    EXPECT_NE(recorder.Take().back().find("\"params\":[]"), std::string::npos);
    session.Reset();
    session.Connected();
    EXPECT_NE(recorder.Take().back().find("eth_submitLogin"), std::string::npos);
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
