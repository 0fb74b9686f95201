// Share results, pool errors and hash-rate replies.
#include <gtest/gtest.h>
#include <algorithm>
#include "SessionRecorder.h"

namespace {

using Events = CSessionRecorder::Events;

void Prepare(CSessionRecorder& recorder) {
    recorder.gpus[0];
    recorder.gpus[1];
    recorder.LogIn(ProtocolMode::Plain);
    recorder.session.Activate();
    recorder.Take();
}

class Reply : public ::testing::Test {
  protected:
    Reply() { Prepare(recorder); }
    PoolError LastError() const { return recorder.pools[0]->lastError.Get(); }
    CSessionRecorder recorder;
};

// Of the devices 0, 1 and, as only the management library knows it, -1.
TEST_F(Reply, CountsSharesByTheGpuInTheId) {
    struct Case {
        const char* line;
        int gpu;             // -2: none is counted for
        std::uint64_t good;  // else it was rejected
        const char* error = nullptr;
    };
    const Case cases[] = {{R"({"id":65537,"result":true})", 0, 1},
                          {R"({"id":131071,"result":true})", 0, 1},
                          {R"({"id":131072,"result":true})", 1, 1},
                          {R"({"id":131073,"result":false,"error":[23,"Low",null]})", 1, 0, "pool-error 23 1 Low"},
                          {R"({"id":131073,"error":{"code":21,"message":"No job"}})", 1, 0, "pool-error 21 1 No job"},
                          {R"({"id":65537,"result":false})", 0, 0},
                          {R"({"id":65537,"result":"true"})", 0, 0},
                          {R"({"id":65537,"result":1})", 0, 0},
                          {R"({"id":196609,"result":true})", -2, 0},
                          {R"({"id":196609,"result":false,"error":[23,"Low"]})", -2, 0, "pool-error 23 -1 Low"},
                          {R"({"id":6,"result":true})", -2, 0},
                          {R"({"id":4295032833,"result":true})", -2, 0},
                          {R"({"id":-65537,"result":true})", -2, 0},
                          {R"({"id":"65537","result":true})", 0, 1},
                          {R"({"id":"65537x","result":true})", -2, 0},
                          {R"({"id":65537.0,"result":true})", -2, 0},
                          {R"({"id":65537,"method":"client.get_version","params":[]})", -2, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        recorder.gpus = {{-1, {}}, {0, {}}, {1, {}}};
        EXPECT_EQ(recorder.Line(c.line), c.error != nullptr ? Events{c.error} : Events{});
        for (const auto& [gpu, statistics] : recorder.gpus) {
            EXPECT_EQ(statistics.accepted, gpu == c.gpu ? c.good : 0) << gpu;
            EXPECT_EQ(statistics.rejected, gpu == c.gpu ? 1 - c.good : 0) << gpu;
        }
    }
    recorder.gpus = {{0, {}}};
    recorder.gpus[0].paused = 1;
    recorder.Line(R"({"id":65537,"result":true})");
    EXPECT_EQ(recorder.Line(R"({"id":65537,"result":false,"error":[20,"No"]})"), Events{"pool-error 20 0 No"});
    EXPECT_EQ(recorder.gpus[0].accepted + recorder.gpus[0].rejected, 0u) << "one that is set aside";
}

TEST_F(Reply, ReadsEveryShapeOfAnError) {
    struct Case {
        const char* error;
        int code;
        std::string text;
    };
    const std::string unknown = "Unknown error from Pool: ";
    const Case cases[] = {{R"([23,"Low difficulty share",null])", 23, "Low difficulty share"},
                          {R"(["23","text"])", -1, "text"},
                          {R"([23])", 23, unknown + "23"},
                          {R"([2147483648,"too large"])", -1, "too large"},
                          {R"([-2147483648,7])", -2147483648, unknown + "-2147483648"},
                          {R"({"code":24,"message":"Unauthorized"})", 24, "Unauthorized"},
                          {R"({"code":-1})", -1, unknown + "-1"},
                          {R"({"code":"5","message":"wrong type"})", -1, "wrong type"},
                          {R"({"code":1,"message":[25,"inner"]})", 25, "inner"},
                          {R"("Invalid worker")", -1, "Invalid worker"},
                          {R"(42)", 42, unknown + "42"},
                          {R"("cut\u0000here")", -1, "cut"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.error);
        recorder.clock.now.ticks += kTicksPerMinute;
        EXPECT_EQ(recorder.Line(Join({R"({"id":3,"result":null,"error":)", c.error, "}"})),
                  Events{Join({"pool-error ", std::to_string(c.code), " -1 ", c.text})});
        EXPECT_EQ(LastError().code, c.code);
        EXPECT_EQ(LastError().text, c.text);
        EXPECT_EQ(LastError().time, recorder.clock.now);
        EXPECT_EQ(LastError().gpuIndex, -1);
    }
    recorder.Line(Join({R"({"id":3,"error":")", std::string(4000, 'e'), "\"}"}));
    EXPECT_EQ(LastError().text, std::string(511, 'e'));
}

TEST_F(Reply, WhatIsNoErrorIsNotRecorded) {
    for (const char* const error :
         {"null", "true", "false", "0", "\"\"", "[]", "[null,null]", "{}", "1.5", "4294967296", "[[5]]"}) {
        EXPECT_EQ(recorder.Line(Join({R"({"id":2,"result":true,"error":)", error, "}"})), Events{}) << error;
    }
    EXPECT_EQ(recorder.Line(R"({"id":2,"method":"client.show_message","error":"x"})").size(), 0u);
    EXPECT_EQ(LastError().code, 0);
    EXPECT_FALSE(LastError().time.IsSet());
}

TEST_F(Reply, ARefusedUserStopsMiningWhateverHeAskedFor) {
    EXPECT_EQ(recorder.Line(R"({"id":3,"error":[24,"INVALID USER PROVIDED"]})").back(), "stop-mining");
    EXPECT_EQ(recorder.Line(R"({"id":3,"error":"Invalid user provided."})").back(),
              "pool-error -1 -1 Invalid user provided.");
    EXPECT_EQ(recorder.Line(R"({"id":3,"error":[20,"Method not found"]})"), Events{"pool-error 20 -1 Method not found"});
}

TEST_F(Reply, OnlyAUserSessionThatFeedsThePluginRecordsErrors) {
    const char* const refusal = R"({"id":3,"result":null,"error":"Invalid user provided"})";
    recorder.session.Pause();
    EXPECT_EQ(recorder.Line(refusal), Events{});
    EXPECT_EQ(LastError().code, 0);

    CSessionRecorder fee(StratumKind::Fee);
    Prepare(fee);
    EXPECT_EQ(fee.Line(refusal), Events{});
    EXPECT_EQ(fee.pools[0]->lastError.Get().code, 0);
}

TEST_F(Reply, ARefusedHashRateReportEndsTheReports) {
    const std::wstring id = recorder.session.HashRateId();
    ASSERT_EQ(id.size(), 66u);
    recorder.Line(R"({"id":5,"result":true,"error":null})");
    EXPECT_EQ(recorder.session.HashRateId(), id);
    for (const char* const reply : {R"({"id":5,"result":false})", R"({"id":5,"result":null,"error":"Method not found"})",
                                    R"({"id":5,"result":1})", R"({"id":5})"}) {
        CSessionRecorder fresh;
        Prepare(fresh);
        EXPECT_EQ(fresh.Line(reply), Events{}) << reply;
        EXPECT_EQ(fresh.session.HashRateId(), L"") << reply;
    }
}

// Shares that the plug-in finds while the session is on its way back.
TEST(HeldShares, GoOutWhenThePoolGivesTheirJobAgainAndAreStaleOtherwise) {
    const std::string share = "{\"id\":65537,\"params\":[\"0xwallet.rig\",\"7\",\"0xnonce\"]}\n";
    struct Case {
        const char* job;
        TimeSpan wait;
        bool sent;
    };
    const Case cases[] = {{"7", kTicksPerSecond, true}, {"8", kTicksPerSecond, false}, {"7", 6 * kTicksPerSecond, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.job);
        CSessionRecorder recorder;
        Prepare(recorder);
        recorder.Line(R"({"method":"mining.notify","params":["7"]})");
        EXPECT_EQ(recorder.session.SubmitShare(share), 0u);
        EXPECT_EQ(recorder.Take(), Events{"send " + share});
        recorder.session.Disconnected();
        recorder.session.Connected();
        recorder.Take();
        EXPECT_EQ(recorder.session.SubmitShare(share), 0u);
        recorder.Line(R"({"id":1,"result":true})");
        EXPECT_EQ(recorder.Line(R"({"id":2,"result":true})"), Events{}) << "ready, but whose job is it?";
        recorder.Pass(c.wait);
        const Events events = recorder.Line(Join({R"({"method":"mining.notify","params":[")", c.job, "\"]}"}));
        EXPECT_EQ(std::count(events.begin(), events.end(), "send " + share), c.sent ? 1 : 0);
        recorder.Pass(6 * kTicksPerSecond);
        recorder.session.Tick();
        EXPECT_EQ(recorder.gpus[0].stale, c.sent ? 0u : 1u);
    }
    // A send that fails is a share that waits, too; what finds no room is stale at once.
    CSessionRecorder recorder;
    Prepare(recorder);
    recorder.Line(R"({"method":"mining.notify","params":["7"]})");
    recorder.sendResult = 10054;
    for (int i = 0; i < 70; ++i)
        recorder.session.SubmitShare(share);
    EXPECT_EQ(recorder.gpus[0].stale, 70u) << "tried again once each, then stale";
}

}  // namespace
