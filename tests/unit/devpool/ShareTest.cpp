#include <chrono>

#include "PoolFixture.h"
#include "common/Hex.h"
#include "devpool_core/Target.h"

namespace {

constexpr unsigned kShareId = 131073;  // GPU 1

// What a share of a dialect is written from; each text can be spoilt by a test.
struct ShareText {
    std::string user;
    std::string job;
    std::string nonce;
    std::string header;
    std::string mix;
};

std::string Request(Dialect dialect, const ShareText& share) {
    const auto quoted = [](const std::string& text) { return "\"" + text + "\""; };
    const std::string id = "{\"id\":" + std::to_string(kShareId) + ",\"method\":\"";
    const std::string proof = quoted(share.nonce) + "," + quoted(share.header) + "," + quoted(share.mix) + "]}";
    if (dialect == Dialect::EthProxy) return id + "eth_submitWork\",\"params\":[" + proof;
    const std::string start = id + "mining.submit\",\"params\":[" + quoted(share.user) + "," + quoted(share.job) + ",";
    return start + (dialect == Dialect::NiceHash ? quoted(share.nonce) + "]}" : proof);
}

class ShareTest : public testing::TestWithParam<Dialect> {
  protected:
    ShareTest() : m_pool(TestOptions(GetParam())), m_client(m_pool.Client(1)) { LogIn(m_pool, m_client, GetParam()); }

    Hash256 Boundary() const {
        return GetParam() == Dialect::NiceHash ? BoundaryOfStratumDifficulty(StratumDifficultyOf(kTestDifficulty))
                                               : BoundaryOfDifficulty(kTestDifficulty);
    }

    // A share for the current job; in mode 2 the nonce begins with the extranonce of client 1.
    ShareText Share(bool good = true) {
        const PoolJob& job = m_pool.jobs.Current();
        const Solution solution = FindSolution(job.header, Boundary(), 0x0001'0000'0000'0000 + m_offset++ * 1000, good);
        const std::string nonce = NonceText(solution.nonce);
        if (GetParam() == Dialect::NiceHash) return {UserOf(GetParam()), job.id, nonce.substr(4), "", ""};
        return {UserOf(GetParam()), "0x" + job.id, "0x" + nonce, "0x" + HexText(job.header), "0x" + HexText(solution.mix)};
    }

    // The error code of the answer; 0 for an accepted share.
    int Submit(const ShareText& share) {
        const Exchange exchange = m_client.Receive(Request(GetParam(), share), m_pool.now);
        EXPECT_EQ(exchange.lines.size(), 1U);
        EXPECT_EQ(exchange.events.size(), 1U);
        m_event = exchange.events.at(0);
        const auto answer = Json(exchange.lines.at(0));
        EXPECT_EQ(answer["id"].GetUint(), kShareId);
        if (answer.HasMember("result") && answer["result"].IsTrue()) return 0;
        const auto& error = answer["error"];
        m_message = error.IsArray() ? error[1].GetString() : error["message"].GetString();
        EXPECT_EQ(error.IsArray(), GetParam() >= Dialect::NiceHash);
        return error.IsArray() ? error[0].GetInt() : error["code"].GetInt();
    }

    bool CarriesMix() const { return GetParam() != Dialect::NiceHash; }

    TestPool m_pool;
    CPoolProtocol m_client;
    std::uint64_t m_offset = 0;
    std::string m_message;
    std::string m_event;
};

// The dialects whose shares carry a mix, and those whose shares carry a user and a job.
class MixShareTest : public ShareTest {};
class NamedShareTest : public ShareTest {};

TEST_P(ShareTest, IsAcceptedOnceAndCountedForItsGpu) {
    const ShareText share = Share();
    EXPECT_EQ(Submit(share), 0);
    EXPECT_TRUE(m_event.starts_with("share accepted client=1 gpu=1 job=")) << m_event;
    EXPECT_TRUE(m_event.ends_with(" | accepted 1 rejected 0")) << m_event;
    EXPECT_EQ(Submit(share), 22);
    EXPECT_EQ(m_message, "Duplicate share");
    EXPECT_EQ(Submit(Share()), 0);
    const auto json = Json(m_pool.statistics.Json(1, 2.0, kTestDifficulty));
    EXPECT_EQ(json["accepted"].GetInt(), 2);
    EXPECT_EQ(json["rejected"]["duplicate"].GetInt(), 1);
    EXPECT_EQ(json["gpus"]["1"]["accepted"].GetInt(), 2);
    EXPECT_EQ(json["gpus"]["1"]["rejected"].GetInt(), 1);
}

TEST_P(ShareTest, AboveTheTargetIsRejected) {
    EXPECT_EQ(Submit(Share(false)), 23);
    EXPECT_EQ(m_message, "Low difficulty share");
}

TEST_P(ShareTest, ForAReplacedJobIsStaleUntilTheJobIsForgotten) {
    const ShareText share = Share();
    m_pool.jobs.Next();
    EXPECT_EQ(Submit(share), 21);
    EXPECT_EQ(m_message, "Job not found (stale)");
    m_pool.jobs.Next();
    EXPECT_EQ(Submit(share), 21);
    EXPECT_EQ(m_message, "Job not found (stale)");
    m_pool.jobs.Next();
    EXPECT_EQ(Submit(share), 21);
    EXPECT_EQ(m_message, "Job not found");
    EXPECT_EQ(m_pool.statistics.Count(ShareVerdict::Stale), 2U);
    EXPECT_EQ(m_pool.statistics.Count(ShareVerdict::UnknownJob), 1U);
}

TEST_P(MixShareTest, WithAWrongMixIsRejected) {
    ShareText share = Share();
    const std::string good = share.mix;
    share.mix[10] = share.mix[10] == '0' ? '1' : '0';
    EXPECT_EQ(Submit(share), 25);
    EXPECT_EQ(m_message, "Invalid mix");
    share.mix = good;
    EXPECT_EQ(Submit(share), 0);
}

TEST_P(ShareTest, OfTheWrongFormIsRejected) {
    const ShareText good = Share();
    const bool prefixed = CarriesMix();
    std::vector<ShareText> bad;
    for (const char* const nonce : {"", "0x", "0x1", "zz", "0x00010000000000000", "0x000100000000000g"}) {
        bad.push_back(good);
        bad.back().nonce = nonce;
    }
    bad.push_back(good);
    bad.back().nonce = prefixed ? good.nonce.substr(2) : "0x" + good.nonce;
    if (prefixed) {
        for (std::string ShareText::*field : {&ShareText::header, &ShareText::mix}) {
            for (const std::string& text :
                 {std::string(), std::string("0x00"), (good.*field).substr(2), good.*field + "00"}) {
                bad.push_back(good);
                bad.back().*field = text;
            }
        }
    }
    for (const ShareText& share : bad)
        EXPECT_EQ(Submit(share), 20) << Request(GetParam(), share);
    EXPECT_EQ(m_message, "Malformed share");
    EXPECT_EQ(m_pool.statistics.Count(ShareVerdict::Malformed), bad.size());
    EXPECT_EQ(Submit(good), 0);
}

TEST_P(NamedShareTest, NeedsTheUserAndTheHeaderOfItsJob) {
    ShareText share = Share();
    share.user = "somebody";
    EXPECT_EQ(Submit(share), 24);
    share.user = UserOf(GetParam());
    share.job = "0x";
    EXPECT_EQ(Submit(share), 21);
    if (!CarriesMix()) return;
    share = Share();
    share.header.back() = share.header.back() == '0' ? '1' : '0';
    EXPECT_EQ(Submit(share), 20);
}

TEST_P(ShareTest, WithMissingOrWronglyTypedParametersIsRejected) {
    const std::string method = GetParam() == Dialect::EthProxy ? "eth_submitWork" : "mining.submit";
    for (const char* const parameters :
         {"[]", "[\"a\"]", "[1,2,3]", "[1,2,3,4,5]", "[\"a\",\"b\",\"c\",\"d\",\"e\",\"f\"]"}) {
        const std::string line = "{\"id\":65536,\"method\":\"" + method + "\",\"params\":" + parameters + "}";
        const Exchange exchange = m_client.Receive(line, m_pool.now);
        ASSERT_EQ(exchange.lines.size(), 1U);
        EXPECT_NE(exchange.lines[0].find("Malformed share"), std::string::npos) << line;
    }
    EXPECT_EQ(m_pool.statistics.Count(ShareVerdict::Malformed), 5U);
}

std::string ModeName(const testing::TestParamInfo<Dialect>& row) {
    return "Mode" + std::to_string(static_cast<int>(row.param));
}

using enum Dialect;
INSTANTIATE_TEST_SUITE_P(Dialects, ShareTest, testing::Values(EthProxy, Plain, NiceHash, Host), ModeName);
INSTANTIATE_TEST_SUITE_P(Dialects, MixShareTest, testing::Values(EthProxy, Plain, Host), ModeName);
INSTANTIATE_TEST_SUITE_P(Dialects, NamedShareTest, testing::Values(Plain, NiceHash, Host), ModeName);

TEST(Share, OfTwoClientsOnOneJobIsADuplicateForTheSecond) {
    TestPool pool(TestOptions());
    CPoolProtocol first = pool.Client(1);
    CPoolProtocol second = pool.Client(2);
    LogIn(pool, first, Dialect::EthProxy);
    LogIn(pool, second, Dialect::EthProxy);
    const Solution solution = FindSolution(pool.jobs.Current().header, BoundaryOfDifficulty(kTestDifficulty), 0);
    const ShareText share{"", "", "0x" + NonceText(solution.nonce), "0x" + HexText(pool.jobs.Current().header),
                          "0x" + HexText(solution.mix)};
    EXPECT_NE(first.Receive(Request(Dialect::EthProxy, share), pool.now).lines[0].find("true"), std::string::npos);
    EXPECT_NE(second.Receive(Request(Dialect::EthProxy, share), pool.now).lines[0].find("22"), std::string::npos);
}

TEST(HashRate, IsSetBesideTheRateOfTheAcceptedShares) {
    TestPool pool(TestOptions());
    CPoolProtocol client = pool.Client();
    LogIn(pool, client, Dialect::EthProxy);
    for (std::uint64_t i = 0; i < 3; ++i) {
        const Hash256& header = pool.jobs.Current().header;
        const Solution solution = FindSolution(header, BoundaryOfDifficulty(kTestDifficulty), i * 1000);
        const ShareText share{"", "", "0x" + NonceText(solution.nonce), "0x" + HexText(header),
                              "0x" + HexText(solution.mix)};
        client.Receive(Request(Dialect::EthProxy, share), pool.now);
    }
    const std::string rate = "0x" + std::string(60, '0') + "0010";
    const Exchange exchange =
        client.Receive(R"({"id":5,"jsonrpc":"2.0","method":"eth_submitHashrate","params":[")" + rate + R"(", "0xab"]})",
                       pool.now + std::chrono::seconds(2));
    ASSERT_EQ(exchange.lines.size(), 1U);
    EXPECT_EQ(exchange.lines[0], R"({"id":5,"jsonrpc":"2.0","result":true})");
    ASSERT_EQ(exchange.events.size(), 1U);
    EXPECT_EQ(exchange.events[0], "hashrate client=1 reported=16.000 H/s derived=6.000 H/s from 3 shares in 2.0 s");
    const auto json = Json(pool.statistics.Json(1, 2.0, kTestDifficulty));
    ASSERT_EQ(json["hashRateReports"].Size(), 1U);
    EXPECT_EQ(json["hashRateReports"][0]["derived"].GetDouble(), 6.0);
}

TEST(HashRate, OfTheWrongFormIsRefused) {
    TestPool pool(TestOptions());
    CPoolProtocol client = pool.Client();
    LogIn(pool, client, Dialect::NiceHash);
    for (const char* const parameters : {"[]", "[\"0x1\"]", "[1,\"0x2\"]", "[\"0xzz\",\"0x2\"]"}) {
        const std::string line = R"({"id":5,"method":"eth_submitHashrate","params":)" + std::string(parameters) + "}";
        EXPECT_NE(client.Receive(line, pool.now).lines[0].find("\"error\":[20,"), std::string::npos) << line;
    }
    EXPECT_EQ(Json(pool.statistics.Json(1, 2.0, kTestDifficulty))["hashRateReports"].Size(), 0U);
}

}  // namespace
