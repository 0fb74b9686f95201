// What a session does about connections that fail.
#include <gtest/gtest.h>
#include "SessionRecorder.h"

namespace {

using Events = CSessionRecorder::Events;

class Failover : public ::testing::Test {
  protected:
    void UsePools(std::size_t count) {
        std::vector<PoolEntry> pools;
        for (std::size_t i = 0; i < count; ++i)
            pools.push_back(MakePool(static_cast<std::uint32_t>(i), L"pool.example"));
        recorder.UsePools(pools);
    }
    // The connection is established, logged in to and lost.
    Events LoginAndLoss() {
        session.Connected();
        recorder.Line(R"({"id":1,"result":true,"error":null})");
        session.Disconnected();
        return recorder.Take();
    }
    CSessionRecorder recorder;
    CStratumSession& session = recorder.session;
};

TEST_F(Failover, TheFourthConnectErrorSwitchesOnceUntilTheCountIsCleared) {
    UsePools(2);
    const std::string line = "log Connect error: Connect failed(10061)";
    for (int attempt = 1; attempt <= 9; ++attempt) {
        session.ConnectError("Connect failed", 10061);
        EXPECT_EQ(recorder.Take(), attempt == 4 ? (Events{line, "switch"}) : Events{line}) << attempt;
    }
    EXPECT_EQ(session.PoolIndex(), 1u);
    session.Reset();
    for (int attempt = 1; attempt <= 4; ++attempt)
        session.ConnectError("Connect failed", 10061);
    EXPECT_EQ(recorder.Take().back(), "switch");
    EXPECT_EQ(session.PoolIndex(), 0u) << "wraps behind the last pool";
}

TEST_F(Failover, AConnectionClearsTheConnectErrors) {
    UsePools(2);
    for (int round = 0; round < 3; ++round) {
        for (int attempt = 0; attempt < 3; ++attempt)
            session.ConnectError("Connect failed", 10061);
        session.Connected();
    }
    EXPECT_EQ(session.PoolIndex(), 0u);
}

TEST_F(Failover, WithOnePoolConnectErrorsNeverSwitch) {
    UsePools(1);
    for (int attempt = 0; attempt < 10; ++attempt)
        session.ConnectError("No such host", 11001);
    EXPECT_EQ(recorder.Take(), Events(10, "log Connect error: No such host(11001)"));
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
    struct Case {
        TimeSpan pause;
        bool isSwitched;
    };
    for (const Case& c : {Case{2 * kTicksPerMinute, true}, Case{2 * kTicksPerMinute + 1, false}}) {
        CSessionRecorder fresh;
        fresh.UsePools({MakePool(1, L"a"), MakePool(2, L"b")});
        for (int loss = 0; loss < 4; ++loss) {
            if (loss == 3) fresh.clock.now.ticks += c.pause;
            fresh.session.Connected();
            fresh.Line(R"({"id":1,"result":true})");
            fresh.session.Disconnected();
        }
        EXPECT_EQ(fresh.session.PoolIndex(), c.isSwitched ? 1u : 0u);
    }
}

TEST_F(Failover, AfterTheLastModeMiningIsStopped) {
    UsePools(1);
    for (int mode = 0; mode < 3; ++mode) {
        session.Connected();
        recorder.Take();
        session.Disconnected();
        EXPECT_EQ(recorder.Take(), Events{}) << mode;
    }
    for (int again = 0; again < 2; ++again) {
        session.Connected();
        EXPECT_NE(recorder.Take().back().find("null,\"pool.example\""), std::string::npos) << "keeps trying the last mode";
        session.Disconnected();
        EXPECT_EQ(recorder.Take(), Events{"stop-mining"});
    }
}

TEST_F(Failover, TheModeStaysOnceASubscribeHasSucceededUntilAReset) {
    UsePools(1);
    session.Connected();
    session.Disconnected();  // plain from here on
    for (int loss = 0; loss < 3; ++loss)
        EXPECT_EQ(LoginAndLoss(), Events{"log Disconnected"});
    session.Connected();
    EXPECT_EQ(recorder.Take().back(), "send {\"id\":1,\"jsonrpc\":\"2.0\",\"method\":\"mining.subscribe\",\"params\":[]}\n");
    session.Reset();
    session.Connected();
    EXPECT_NE(recorder.Take().back().find("eth_submitLogin"), std::string::npos);
}

// With a backup pool the transport reports each loss as a connect error first.
TEST_F(Failover, WithABackupPoolLossesBeforeTheLoginTryTheModesAndThenTheOtherPool) {
    UsePools(2);
    const char* const methods[] = {"eth_submitLogin", "\"params\":[]", "EthereumStratum", "null"};
    for (int loss = 0; loss < 4; ++loss) {
        session.Connected();
        EXPECT_NE(recorder.Take().back().find(methods[loss]), std::string::npos) << loss;
        session.ConnectError("Connection lost", 0);
        session.Disconnected();
        const Events lost = {"log Connect error: Connection lost(0)", "log Disconnected"};
        EXPECT_EQ(recorder.Take(), loss == 3 ? (Events{lost[0], lost[1], "switch"}) : lost) << loss;
    }
    EXPECT_EQ(session.PoolIndex(), 1u);
}

TEST_F(Failover, AConnectionEndedFromThisSideIsNoTroubleOfThePool) {
    UsePools(1);
    for (int times = 0; times < 8; ++times) {
        session.Connected();
        session.Closed();
    }
    EXPECT_FALSE(session.IsReady());
    EXPECT_EQ(recorder.Take(), Events(8,
                                      "send {\"id\":1,\"method\":\"eth_submitLogin\",\"worker\":\"rig\","
                                      "\"params\":[\"0xwallet\"]}\n"));
}

TEST_F(Failover, UntilTheResetLoginsAndErrorsBelongToThePoolThatIsConnected) {
    UsePools(2);
    session.Activate();
    for (int attempt = 0; attempt < 4; ++attempt)
        session.ConnectError("Connect failed", 10061);
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
