#include "PoolFixture.h"

namespace {

// The texts of a pool whose header, job, boundary and seed are written as HEADER, JOB, BOUNDARY and SEED.
std::string Masked(std::string text, const TestPool& pool) {
    const std::pair<std::string, const char*> rows[] = {{HexText(pool.jobs.Current().header), "HEADER"},
                                                        {pool.jobs.Current().id, "JOB"},
                                                        {HexText(BoundaryOfDifficulty(kTestDifficulty)), "BOUNDARY"},
                                                        {HexText(pool.jobs.Seed()), "SEED"}};
    for (const auto& [what, by] : rows) {
        for (std::size_t at; (at = text.find(what)) != std::string::npos;)
            text.replace(at, what.size(), by);
    }
    return text;
}

TEST(Login, ConversationOfEachDialect) {
    const struct {
        Dialect dialect;
        const char* answers;
        const char* job;
    } rows[] = {
        {Dialect::EthProxy,
         "{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":true}\n"
         "{\"id\":4,\"jsonrpc\":\"2.0\",\"result\":[\"0xHEADER\",\"0xSEED\",\"0xBOUNDARY\"]}\n",
         R"({"id":0,"jsonrpc":"2.0","result":["0xHEADER","0xSEED","0xBOUNDARY"]})"},
        {Dialect::Plain,
         "{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":[\"00000007\"]}\n"
         "{\"id\":2,\"jsonrpc\":\"2.0\",\"result\":true}\n",
         R"({"id":null,"method":"mining.notify","params":["0xJOB","0xHEADER","0xSEED","0xBOUNDARY",true]})"},
        {Dialect::NiceHash,
         "{\"id\":1,\"result\":[[\"mining.notify\",\"00000007\",\"EthereumStratum/1.0.0\"],\"0007\"],\"error\":null}\n"
         "{\"id\":3,\"result\":true,\"error\":null}\n"
         "{\"id\":2,\"result\":true,\"error\":null}\n"
         "{\"id\":null,\"method\":\"mining.set_difficulty\",\"params\":[9.313225746154785e-10]}\n",
         R"({"id":null,"method":"mining.notify","params":["JOB","SEED","HEADER",true]})"},
        {Dialect::Host,
         "{\"id\":1,\"result\":true,\"error\":null}\n"
         "{\"id\":2,\"result\":true,\"error\":null}\n",
         R"({"id":null,"method":"mining.notify","params":["0xJOB","0xHEADER","0xSEED","0xBOUNDARY",true]})"},
    };
    for (const auto& row : rows) {
        TestPool pool(TestOptions());
        CPoolProtocol client = pool.Client(7);
        const bool asks = row.dialect == Dialect::EthProxy;  // for its first job
        EXPECT_EQ(Masked(LogIn(pool, client, row.dialect), pool), row.answers + (asks ? "" : std::string(row.job) + "\n"));
        pool.jobs.Next();
        EXPECT_EQ(pool.jobs.Current().id, "00000002");
        EXPECT_EQ(Masked(client.Announce(pool.now).lines.at(0), pool), row.job);
        EXPECT_TRUE(pool.Client().Announce(pool.now).lines.empty());
    }
}

TEST(Login, AnnouncesNiceHashToAPlainSubscriber) {
    PoolOptions options = TestOptions();
    options.faults.announceNiceHash = true;
    TestPool pool(options);
    CPoolProtocol client = pool.Client(0x1234);
    EXPECT_EQ(client.Receive(LoginLines(Dialect::Plain)[0], pool.now).lines.at(0),
              R"({"id":1,"result":[["mining.notify","00001234","EthereumStratum/1.0.0"],"1234"],"error":null})");
    client.Receive(LoginLines(Dialect::NiceHash)[1], pool.now);
    EXPECT_EQ(client.Receive(LoginLines(Dialect::NiceHash)[2], pool.now).lines.size(), 3U);
}

TEST(Login, SurvivesHostileLinesAndDropsTheirSenderInTheEnd) {
    TestPool pool(TestOptions());
    CPoolProtocol client = pool.Client();
    for (int line = 0; line < 7; ++line) {
        const Exchange exchange = client.Receive("{\"method\":7}", pool.now);
        EXPECT_FALSE(exchange.drop);
        EXPECT_EQ(Json(exchange.lines.at(0))["error"]["code"].GetInt(), 20);
    }
    LogIn(pool, client, Dialect::Plain);
    EXPECT_TRUE(client.LoggedIn());
    EXPECT_TRUE(client.Receive("garbage", pool.now).drop);
}

}  // namespace
