// The conversations of the four protocol modes, byte by byte.
#include <gtest/gtest.h>
#include "SessionRecorder.h"

namespace {

using Events = CSessionRecorder::Events;

constexpr char kAccepted[] = R"({"id":1,"jsonrpc":"2.0","result":true,"error":null})";
constexpr char kNiceHashReply[] =
    R"({"id":1,"result":[["mining.notify","ae6812eb","ethereumstratum/1.0.0"],"080c"],"error":null})";

const std::string kSubscribe[] = {
    "send {\"id\":1,\"method\":\"eth_submitLogin\",\"worker\":\"rig\",\"params\":[\"0xwallet\"]}\n",
    "send {\"id\":1,\"jsonrpc\":\"2.0\",\"method\":\"mining.subscribe\",\"params\":[]}\n",
    "send {\"id\":1,\"method\":\"mining.subscribe\",\"params\":[\"Quorvel-Miner/18.12.50.41\",\"EthereumStratum/1.0.0\"]}\n",
    "send "
    "{\"id\":1,\"method\":\"mining.subscribe\",\"params\":[\"Quorvel-Miner/"
    "18.12.50.41\",null,\"pool.example\",\"4444\"]}\n"};

const std::string kLogin[] = {
    "send {\"id\":4,\"method\":\"eth_getWork\",\"params\":[]}\n",
    "send {\"id\":2,\"jsonrpc\":\"2.0\",\"method\":\"mining.authorize\",\"params\":[\"0xwallet.rig\",\"secret\"]}\n",
    "send {\"id\":2,\"method\":\"mining.authorize\",\"params\":[\"0xwallet.rig\",\"secret\"]}\n",
    "send {\"id\":2,\"method\":\"mining.authorize\",\"params\":[\"0xwallet\",\"secret\"]}\n"};

const std::string kExtranonceSubscribe = "send {\"id\":3,\"method\":\"mining.extranonce.subscribe\",\"params\":[]}\n";

// Each mode is reached by dropping the connection before a subscribe succeeds.
TEST(Login, EachModeHasItsConversationAndDetectsNiceHash) {
    for (const int mode : {0, 1, 2, 3}) {
        for (const bool isNiceHash : {false, true}) {
            SCOPED_TRACE(mode);
            CSessionRecorder recorder;
            recorder.UsePools({MakePool(1, L"pool.example:9999")});
            recorder.session.Activate();
            recorder.session.Connected();
            for (int dropped = 0; dropped < mode; ++dropped) {
                recorder.session.Disconnected();
                recorder.Take();
                recorder.session.Connected();
            }
            EXPECT_EQ(recorder.Take().back(), kSubscribe[mode]);
            EXPECT_EQ(recorder.session.ActiveMode(), ProtocolMode::None);
            EXPECT_FALSE(recorder.session.IsReady());

            Events expected = {"post 2402"};
            if (isNiceHash) {
                expected = {"log Nicehash protocol detected. Change to Protocol-Mode = 2", "post 2402", "post 2407"};
            }
            if (isNiceHash || mode == 2) expected.push_back(kExtranonceSubscribe);
            expected.push_back(kLogin[isNiceHash ? 2 : mode]);
            EXPECT_EQ(recorder.Line(isNiceHash ? kNiceHashReply : kAccepted), expected);
            EXPECT_STREQ(recorder.session.WorkBlock().extranonce, isNiceHash ? "080c" : "");
            EXPECT_EQ(recorder.session.WorkBlock().protocolMode, isNiceHash ? 2 : mode);
            EXPECT_EQ(recorder.session.IsReady(), mode == 0 && !isNiceHash);
            EXPECT_EQ(recorder.Line(R"({"id":2,"result":true,"error":null})"), Events{});
            EXPECT_TRUE(recorder.session.IsReady());
        }
    }
}

TEST(Login, AnythingButThreeItemsOfNiceHashIsNotNiceHash) {
    for (const char* const result : {R"([["a","b"],"080c"])", R"([["a","b","EthereumStratum/1.0.0","d"],"080c"])",
                                     R"([["a","b","EthereumStratum/2.0.0"]])", R"([["a","b",1]])", "[[]]", "[]", "null"}) {
        SCOPED_TRACE(result);
        CSessionRecorder recorder;
        recorder.UsePools({MakePool(1, L"pool.example", 7)});
        recorder.session.Connected();
        recorder.Take();
        EXPECT_EQ(recorder.Line(Join({R"({"id":1,"error":null,"result":)", result, "}"})), Events{kLogin[1]});
    }
}

TEST(Login, TheAlgorithmChoosesTheFirstMode) {
    for (const std::int32_t algorithm : {-1, 0, 1, 6, 7, 8, 9, 11}) {
        CSessionRecorder recorder;
        recorder.UsePools({MakePool(1, L"pool.example", algorithm)});
        recorder.session.Connected();
        EXPECT_EQ(recorder.Take(), Events{kSubscribe[algorithm == 7 || algorithm == 8 ? 1 : 0]}) << algorithm;
    }
}

// Each ends the connection from this side; the pool may keep it open. As public pools answer a login that they do not know,
// or refuse.
TEST(Login, ARefusalEndsTheConnection) {
    const std::string subscribeFailed = "log Subscribe failed. Protocol-Mode was = 1";
    const std::string own = std::to_string(CodeNumber(TroubleCode::LoginRefused));
    struct Case {
        const char* reply;
        Events events;
    };
    const Case subscribes[] = {
        {R"({"error":{"code":20,"message":"Unsupported request eth_submitLogin"},"id":1})",
         {subscribeFailed, "drop Login refused: Unsupported request eth_submitLogin",
          "pool-error 20 -1 Unsupported request eth_submitLogin"}},
        {R"({"id":1,"result":null,"error":[20,"Unknown method",null]})",
         {subscribeFailed, "drop Login refused: Unknown method", "pool-error 20 -1 Unknown method"}},
        {R"({"id":1,"error":{"code":-3,"message":"Method not found"}})",
         {subscribeFailed, "drop Login refused: Method not found"}},
        {R"({"id":"1","result":false,"error":"Not here"})",
         {subscribeFailed, "drop Login refused: Not here", "pool-error -1 -1 Not here"}},
        {R"({"id":null,"error":{"code":-32700,"message":"Parse error"}})",
         {subscribeFailed, "drop Login refused: Parse error", "pool-error -32700 -1 Parse error"}},
        {R"({"id":1,"jsonrpc":"2.0","result":false})",
         {subscribeFailed, "drop The pool refuses the login", "pool-error " + own + " -1 The pool refuses the login"}}};
    for (const Case& c : subscribes) {
        SCOPED_TRACE(c.reply);
        CSessionRecorder recorder;
        recorder.UsePools({MakePool(1, L"pool.example", 7)});
        recorder.session.Activate();
        recorder.session.Connected();
        EXPECT_EQ(recorder.Line(c.reply), c.events);
        recorder.session.Disconnected();
        recorder.session.Connected();
        EXPECT_EQ(recorder.Take().back(), kSubscribe[2]) << "the next mode";
        // The right mode makes up for what was said in the wrong one.
        for (const char* const line :
             {kNiceHashReply, R"({"id":2,"result":true})", R"({"method":"mining.notify","params":["1"]})"})
            recorder.Line(line);
        EXPECT_EQ(recorder.pools[0]->lastError.Get().code, 0);
    }
    const Case authorizations[] = {
        {R"({"id":2,"result":false,"error":null})",
         {"drop The pool refuses the login", "pool-error " + own + " -1 The pool refuses the login"}},
        {R"({"id":2,"result":null,"error":[24,"Unauthorized worker",null]})",
         {"drop Login refused: Unauthorized worker", "pool-error 24 -1 Unauthorized worker"}},
        {R"({"id":"2","result":null,"error":"Invalid user provided"})",
         {"drop Login refused: Invalid user provided", "pool-error -1 -1 Invalid user provided", "stop-mining"}}};
    for (const Case& c : authorizations) {
        SCOPED_TRACE(c.reply);
        CSessionRecorder recorder;
        recorder.UsePools({MakePool(1, L"pool.example", 7)});
        recorder.session.Activate();
        recorder.session.Connected();
        recorder.Line(kAccepted);
        EXPECT_EQ(recorder.Line(c.reply), c.events);
        EXPECT_FALSE(recorder.session.IsReady());
    }
}

TEST(Login, ASubscribeClearsTheTargetUnlessADifficultyCameBeforeItsAnswer) {
    CSessionRecorder recorder;
    recorder.LogIn(ProtocolMode::Plain);
    recorder.session.Activate();
    const char* const difficulty = R"({"id":null,"method":"mining.set_difficulty","params":[2]})";
    EXPECT_EQ(recorder.Line(difficulty), Events{"post 2406"});
    recorder.session.Disconnected();
    recorder.session.Connected();
    recorder.Line(kAccepted);
    EXPECT_EQ(recorder.session.WorkBlock().target[4], 0);
    EXPECT_EQ(recorder.Line(difficulty), Events{"post 2406"});
    EXPECT_EQ(recorder.session.WorkBlock().target[4], 0x7F);
    recorder.session.Disconnected();
    recorder.session.Connected();
    recorder.Line(difficulty);
    recorder.Line(kAccepted);
    EXPECT_EQ(recorder.session.WorkBlock().target[4], 0x7F);
}

TEST(Login, AWorkerNameIsTakenAtTheNextLoginAndTheEarlierTextStays) {
    CSessionRecorder recorder;
    recorder.UsePools({MakePool(1, L"pool.example")});
    const wchar_t* const earlier = recorder.session.WorkBlock().workerName;
    recorder.workerName = L"r\u00FCg\"x";
    EXPECT_STREQ(recorder.session.WorkBlock().workerName, L"rig");
    recorder.session.Connected();
    EXPECT_EQ(recorder.Take().back(),
              "send {\"id\":1,\"method\":\"eth_submitLogin\",\"worker\":\"r\xFCg\"x\",\"params\":[\"0xwallet\"]}\n")
        << "narrow and unescaped";
    EXPECT_STREQ(recorder.session.WorkBlock().workerName, L"r\u00FCg\"x");
    EXPECT_STREQ(earlier, L"rig");

    PoolEntry pool = MakePool(1, L"pool.example");
    std::copy_n(L"special", 8, pool.WorkerOverride);
    recorder.UsePools({pool});
    EXPECT_STREQ(recorder.session.WorkBlock().workerName, L"special");
}

}  // namespace
