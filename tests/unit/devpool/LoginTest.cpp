#include "PoolFixture.h"
#include "common/Hex.h"
#include "devpool_core/Target.h"

namespace {

constexpr Dialect kDialects[] = {Dialect::EthProxy, Dialect::Plain, Dialect::NiceHash, Dialect::Host};

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string Join(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

// The texts of a pool whose header, seed and boundary are written as HEADER, SEED and BOUNDARY.
std::string Masked(std::string text, const TestPool& pool) {
    const auto replace = [&text](const std::string& what, const std::string& by) {
        for (std::size_t at; (at = text.find(what)) != std::string::npos;)
            text.replace(at, what.size(), by);
    };
    replace(HexText(pool.jobs.Current().header), "HEADER");
    replace(HexText(BoundaryOfDifficulty(kTestDifficulty)), "BOUNDARY");
    replace(HexText(pool.jobs.Seed()), "SEED");
    return text;
}

TEST(Login, ConversationOfEachDialect) {
    const struct {
        Dialect dialect;
        const char* answers;
    } rows[] = {
        {Dialect::EthProxy,
         "{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":true}\n"
         "{\"id\":4,\"jsonrpc\":\"2.0\",\"result\":[\"0xHEADER\",\"0xSEED\",\"0xBOUNDARY\"]}\n"},
        {Dialect::Plain,
         "{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":[\"00000001\"]}\n"
         "{\"id\":2,\"jsonrpc\":\"2.0\",\"result\":true}\n"
         "{\"id\":null,\"method\":\"mining.notify\",\"params\":"
         "[\"0x00000001\",\"0xHEADER\",\"0xSEED\",\"0xBOUNDARY\",true]}\n"},
        {Dialect::NiceHash,
         "{\"id\":1,\"result\":[[\"mining.notify\",\"00000001\",\"EthereumStratum/1.0.0\"],\"0001\"],\"error\":null}\n"
         "{\"id\":3,\"result\":true,\"error\":null}\n"
         "{\"id\":2,\"result\":true,\"error\":null}\n"
         "{\"id\":null,\"method\":\"mining.set_difficulty\",\"params\":[9.313225746154785e-10]}\n"
         "{\"id\":null,\"method\":\"mining.notify\",\"params\":[\"00000001\",\"SEED\",\"HEADER\",true]}\n"},
        {Dialect::Host,
         "{\"id\":1,\"result\":true,\"error\":null}\n"
         "{\"id\":2,\"result\":true,\"error\":null}\n"
         "{\"id\":null,\"method\":\"mining.notify\",\"params\":"
         "[\"0x00000001\",\"0xHEADER\",\"0xSEED\",\"0xBOUNDARY\",true]}\n"},
    };
    for (const auto& row : rows) {
        TestPool pool(TestOptions());
        CPoolProtocol client = pool.Client();
        EXPECT_EQ(Masked(Join(LogIn(pool, client, row.dialect)), pool), row.answers);
        EXPECT_TRUE(client.LoggedIn());
    }
}

TEST(Login, NewJobsGoToLoggedInClientsOnly) {
    TestPool pool(TestOptions());
    CPoolProtocol stranger = pool.Client(1);
    CPoolProtocol proxy = pool.Client(2);
    CPoolProtocol plain = pool.Client(3);
    LogIn(pool, proxy, Dialect::EthProxy);
    LogIn(pool, plain, Dialect::Plain);
    pool.jobs.Next();
    EXPECT_TRUE(stranger.Announce(pool.now).lines.empty());
    EXPECT_EQ(Masked(Join(proxy.Announce(pool.now).lines), pool),
              "{\"id\":0,\"jsonrpc\":\"2.0\",\"result\":[\"0xHEADER\",\"0xSEED\",\"0xBOUNDARY\"]}\n");
    EXPECT_EQ(Masked(Join(plain.Announce(pool.now).lines), pool),
              "{\"id\":null,\"method\":\"mining.notify\",\"params\":"
              "[\"0x00000002\",\"0xHEADER\",\"0xSEED\",\"0xBOUNDARY\",true]}\n");
}

TEST(Login, FixedModeDropsEveryOtherDialectWithoutAnAnswer) {
    for (const Dialect wanted : kDialects) {
        for (const Dialect spoken : kDialects) {
            TestPool pool(TestOptions(wanted));
            CPoolProtocol client = pool.Client();
            const Exchange exchange = client.Receive(LoginLines(spoken)[0], pool.now);
            EXPECT_EQ(exchange.drop, wanted != spoken);
            EXPECT_EQ(exchange.lines.empty(), wanted != spoken);
        }
    }
}

TEST(Login, DropsLowerModesUntilTheWantedOneIsTried) {
    PoolOptions options = TestOptions();
    options.faults.dropUntilMode = 2;
    for (const Dialect spoken : kDialects) {
        TestPool pool(options);
        CPoolProtocol client = pool.Client();
        EXPECT_EQ(client.Receive(LoginLines(spoken)[0], pool.now).drop, spoken < Dialect::NiceHash);
    }
}

TEST(Login, AnnouncesNiceHashToAPlainSubscriber) {
    PoolOptions options = TestOptions();
    options.faults.announceNiceHash = true;
    TestPool pool(options);
    CPoolProtocol client = pool.Client(0x1234);
    const Exchange first = client.Receive(LoginLines(Dialect::Plain)[0], pool.now);
    ASSERT_EQ(first.lines.size(), 1U);
    EXPECT_EQ(first.lines[0],
              R"({"id":1,"result":[["mining.notify","00001234","EthereumStratum/1.0.0"],"1234"],"error":null})");
    client.Receive(LoginLines(Dialect::NiceHash)[1], pool.now);
    EXPECT_EQ(client.Receive(LoginLines(Dialect::NiceHash)[2], pool.now).lines.size(), 3U);
}

TEST(Login, RefusesUsers) {
    const struct {
        const char* wallet;
        bool refuseAll;
        Dialect dialect;
        bool accepted;
    } rows[] = {
        {"0xabc", false, Dialect::EthProxy, true}, {"0xabc", false, Dialect::Plain, true},
        {"0xabc", false, Dialect::NiceHash, true}, {"0xabc", false, Dialect::Host, true},
        {"0xab", false, Dialect::EthProxy, false}, {"0xab", false, Dialect::Plain, false},
        {"0xab", false, Dialect::Host, false},     {"", true, Dialect::EthProxy, false},
        {"", true, Dialect::NiceHash, false},
    };
    for (const auto& row : rows) {
        PoolOptions options = TestOptions();
        options.wallet = row.wallet;
        options.faults.refuseUser = row.refuseAll;
        TestPool pool(options);
        CPoolProtocol client = pool.Client();
        const std::string answers = Join(LogIn(pool, client, row.dialect));
        EXPECT_EQ(client.LoggedIn(), row.accepted);
        EXPECT_EQ(Contains(answers, "\"Invalid user provided\""), !row.accepted) << answers;
        EXPECT_EQ(Contains(answers, HexText(pool.jobs.Current().header)), row.accepted) << answers;
    }
}

TEST(Login, IsNeededBeforeAnythingElse) {
    const struct {
        const char* line;
        int code;
    } rows[] = {
        {R"({"id":9,"method":"mining.authorize","params":["u","p"]})", 20},
        {R"({"id":9,"method":"mining.submit","params":["u","1","2"]})", 20},
        {R"({"id":9,"method":"eth_getWork","params":[]})", 24},
        {R"({"id":9,"method":"eth_submitWork","params":["0x1","0x2","0x3"]})", 24},
        {R"({"id":9,"method":"eth_submitHashrate","params":["0x1","0x2"]})", 24},
        {R"({"id":9,"method":"eth_unknown","params":[]})", -3},
    };
    for (const auto& row : rows) {
        TestPool pool(TestOptions());
        CPoolProtocol client = pool.Client();
        const Exchange exchange = client.Receive(row.line, pool.now);
        ASSERT_EQ(exchange.lines.size(), 1U);
        const auto answer = Json(exchange.lines[0]);
        EXPECT_EQ(answer["id"].GetInt(), 9);
        EXPECT_EQ(answer["error"]["code"].GetInt(), row.code) << row.line;
        EXPECT_FALSE(client.LoggedIn());
    }
}

TEST(Login, SurvivesHostileLinesAndDropsTheirSenderInTheEnd) {
    const std::string lines[] = {"x",
                                 "{",
                                 "[]",
                                 "{\"id\":[],\"method\":\"mining.subscribe\"}",
                                 std::string(16'000, '['),
                                 "{\"method\":7}",
                                 std::string("\0\0", 2)};
    TestPool pool(TestOptions());
    CPoolProtocol client = pool.Client();
    for (const std::string& line : lines) {
        const Exchange exchange = client.Receive(line, pool.now);
        EXPECT_FALSE(exchange.drop);
        ASSERT_EQ(exchange.lines.size(), 1U);
        EXPECT_EQ(Json(exchange.lines[0])["error"]["code"].GetInt(), 20);
    }
    LogIn(pool, client, Dialect::Plain);
    EXPECT_TRUE(client.LoggedIn());
    EXPECT_TRUE(client.Receive("garbage", pool.now).drop);
}

}  // namespace
