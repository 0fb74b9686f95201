#include <chrono>

#include "PoolFixture.h"

namespace {

// What a share of a dialect is written from; each text can be spoilt by a test.
struct ShareText {
    std::string user;
    std::string job;
    std::string nonce;
    std::string header;
    std::string mix;
};

// From GPU 1.
std::string Request(Dialect dialect, const ShareText& share) {
    const std::string proof = share.nonce + "\",\"" + share.header + "\",\"" + share.mix + "\"]}";
    if (dialect == Dialect::EthProxy) return R"({"id":131073,"method":"eth_submitWork","params":[")" + proof;
    return R"({"id":131073,"method":"mining.submit","params":[")" + share.user + "\",\"" + share.job + "\",\"" +
           (dialect == Dialect::NiceHash ? share.nonce + "\"]}" : proof);
}

class ShareTest : public testing::TestWithParam<Dialect> {
  protected:
    ShareTest() : m_pool(TestOptions(GetParam())), m_client(m_pool.Client(1)) { LogIn(m_pool, m_client, GetParam()); }

    // A share for the current job; in mode 2 the nonce begins with the extranonce of client 1.
    ShareText Share(bool good = true) {
        const Hash256 boundary = GetParam() == Dialect::NiceHash
                                     ? BoundaryOfStratumDifficulty(StratumDifficultyOf(kTestDifficulty))
                                     : BoundaryOfDifficulty(kTestDifficulty);
        const PoolJob& job = m_pool.jobs.Current();
        const Solution found = FindSolution(job.header, boundary, 0x0001'0000'0000'0000 + m_offset++ * 1000, good);
        if (GetParam() == Dialect::NiceHash) return {"0xabc.rig", job.id, found.nonce.substr(4), "", ""};
        return {GetParam() == Dialect::Host ? "0xabc" : "0xabc.rig", "0x" + job.id, "0x" + found.nonce,
                "0x" + HexText(job.header), "0x" + found.mix};
    }

    // The code and text of the refusal; "" for an accepted share.
    std::string Submit(const std::string& line) {
        const Exchange exchange = m_client.Receive(line, m_pool.now);
        m_event = exchange.events.at(0);
        const auto answer = Json(exchange.lines.at(0));
        EXPECT_EQ(answer["id"].GetUint(), 131073U);
        if (answer.HasMember("result") && answer["result"].IsTrue()) return "";
        const auto& error = answer["error"];
        EXPECT_EQ(error.IsArray(), GetParam() >= Dialect::NiceHash);
        const auto& code = error.IsArray() ? error[0] : error["code"];
        return std::to_string(code.GetInt()) + " " + (error.IsArray() ? error[1] : error["message"]).GetString();
    }
    std::string Submit(const ShareText& share) { return Submit(Request(GetParam(), share)); }

    TestPool m_pool;
    CPoolProtocol m_client;
    std::uint64_t m_offset = 0;
    std::string m_event;
};

TEST_P(ShareTest, IsAcceptedOnceAndCountedForItsGpu) {
    const ShareText share = Share();
    EXPECT_EQ(Submit(share), "");
    EXPECT_TRUE(m_event.starts_with("share accepted client=1 gpu=1 job=")) << m_event;
    EXPECT_TRUE(m_event.ends_with(" | accepted 1 rejected 0")) << m_event;
    EXPECT_EQ(Submit(share), "22 Duplicate share");
    EXPECT_EQ(Submit(Share(false)), "23 Low difficulty share");
    EXPECT_EQ(Submit(Share()), "");
    const auto json = Json(m_pool.statistics.Json(1, 2.0, kTestDifficulty));
    EXPECT_EQ(json["accepted"].GetInt(), 2);
    EXPECT_EQ(json["rejected"]["duplicate"].GetInt(), 1);
    EXPECT_EQ(json["gpus"]["1"]["accepted"].GetInt(), 2);
    EXPECT_EQ(json["gpus"]["1"]["rejected"].GetInt(), 2);
}

TEST_P(ShareTest, ForAReplacedJobIsStaleUntilTheJobIsForgotten) {
    const ShareText share = Share();
    for (const char* const refusal : {"21 Job not found (stale)", "21 Job not found (stale)", "21 Job not found"}) {
        m_pool.jobs.Next();
        EXPECT_EQ(Submit(share), refusal);
    }
    EXPECT_EQ(m_pool.statistics.Count(ShareVerdict::Stale), 2U);
}

TEST_P(ShareTest, WithAWrongPartIsRejectedAndDoesNotSpoilTheGoodOne) {
    const ShareText good = Share();
    const bool mixed = GetParam() != Dialect::NiceHash;
    const auto flipped = [](std::string text) {
        text.back() = text.back() == '0' ? '1' : '0';
        return text;
    };
    struct Row {
        std::string ShareText::*field;
        std::string text;
        const char* refusal = "20 Malformed share";
    };
    std::vector<Row> rows;
    for (const char* const nonce : {"", "0x", "0x1", "zz", "0x00010000000000000", "0x000100000000000g"})
        rows.push_back({&ShareText::nonce, nonce});
    rows.push_back({&ShareText::nonce, mixed ? good.nonce.substr(2) : "0x" + good.nonce});
    if (GetParam() != Dialect::EthProxy) {
        rows.push_back({&ShareText::user, "somebody", "24 Unauthorized worker"});
        rows.push_back({&ShareText::job, "0x", "21 Job not found"});
        if (mixed) rows.push_back({&ShareText::header, flipped(good.header)});
    }
    if (mixed) {
        rows.push_back({&ShareText::mix, flipped(good.mix), "25 Invalid mix"});
        for (std::string ShareText::*const field : {&ShareText::header, &ShareText::mix}) {
            for (const std::string& text : {std::string(), (good.*field).substr(2), good.*field + "00"})
                rows.push_back({field, text});
        }
    }
    for (const Row& row : rows) {
        ShareText share = good;
        share.*row.field = row.text;
        EXPECT_EQ(Submit(share), row.refusal) << Request(GetParam(), share);
    }
    const std::string method = GetParam() == Dialect::EthProxy ? "eth_submitWork" : "mining.submit";
    for (const char* const parameters : {"[]", "[\"a\"]", "[1,2,3]", "[1,2,3,4,5]", R"(["a","b","c","d","e","f"])"}) {
        const std::string line = "{\"id\":131073,\"method\":\"" + method + "\",\"params\":" + parameters + "}";
        EXPECT_EQ(Submit(line), "20 Malformed share") << line;
    }
    EXPECT_EQ(Submit(good), "");
}

INSTANTIATE_TEST_SUITE_P(Dialects, ShareTest,
                         testing::Values(Dialect::EthProxy, Dialect::Plain, Dialect::NiceHash, Dialect::Host));

TEST(Share, OfTwoClientsOnOneJobIsADuplicateForTheSecond) {
    TestPool pool(TestOptions());
    for (const char* const part : {"\"result\":true", "\"code\":22"}) {
        CPoolProtocol client = pool.Client();
        LogIn(pool, client, Dialect::EthProxy);
        EXPECT_NE(client.Receive(ProxyShare(pool), pool.now).lines.at(0).find(part), std::string::npos);
    }
}

TEST(HashRate, IsSetBesideTheRateOfTheAcceptedShares) {
    TestPool pool(TestOptions());
    CPoolProtocol client = pool.Client();
    LogIn(pool, client, Dialect::EthProxy);
    for (std::uint64_t i = 0; i < 3; ++i)
        client.Receive(ProxyShare(pool, i * 1000), pool.now);
    const std::string start = R"({"id":5,"method":"eth_submitHashrate","params":)";
    const Exchange exchange =
        client.Receive(start + "[\"0x" + std::string(60, '0') + "0010\",\"0xab\"]}", pool.now + std::chrono::seconds(2));
    EXPECT_EQ(exchange.lines.at(0), R"({"id":5,"jsonrpc":"2.0","result":true})");
    EXPECT_EQ(exchange.events.at(0), "hashrate client=1 reported=16.000 H/s derived=6.000 H/s from 3 shares in 2.0 s");
    const std::string tooLong = "[\"0x" + std::string(65, '1') + "\",\"0x2\"]";
    for (const std::string& parameters : {std::string("[]"), std::string(R"(["0x1"])"), std::string(R"([1,"0x2"])"),
                                          std::string(R"(["0xzz","0x2"])"), std::string(R"(["0x","0x2"])"), tooLong})
        EXPECT_EQ(Json(client.Receive(start + parameters + "}", pool.now).lines.at(0))["error"]["code"].GetInt(), 20);
    const auto json = Json(pool.statistics.Json(1, 2.0, kTestDifficulty));
    ASSERT_EQ(json["hashRateReports"].Size(), 1U);
    EXPECT_EQ(json["hashRateReports"][0]["derived"].GetDouble(), 6.0);
}

}  // namespace
