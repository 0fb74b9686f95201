#include "PoolFixture.h"

#include "common/Hex.h"

std::shared_ptr<const CEthashCache> TestCache() {
    static const auto cache =
        CEthashCache::Make(EthashVariant::Ethash, EpochOfBlock(EthashVariant::Ethash, 0), SeedOfIndex(0), nullptr);
    return cache;
}

Solution FindSolution(const Hash256& header, const Hash256& boundary, std::uint64_t start, bool wanted) {
    for (std::uint64_t nonce = start;; ++nonce) {
        const EthashResult result = Hashimoto(*TestCache(), header, nonce);
        if ((result.final <= boundary) == wanted) return {nonce, result.mix};
    }
}

std::string NonceText(std::uint64_t nonce) {
    std::array<std::uint8_t, 8> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[7 - i] = static_cast<std::uint8_t>(nonce >> (8 * i));
    return HexText(bytes);
}

rapidjson::Document Json(const std::string& line) {
    rapidjson::Document document;
    document.Parse(line.c_str());
    EXPECT_FALSE(document.HasParseError()) << line;
    return document;
}

TestPool::TestPool(const PoolOptions& poolOptions)
    : options(poolOptions), jobs(TestCache()->Seed(), options.holdJobs, 1), check(TestCache()) {}

PoolOptions TestOptions(std::optional<Dialect> dialect) {
    PoolOptions options;
    options.dialect = dialect;
    options.difficulty = kTestDifficulty;
    options.variant = EthashVariant::Ethash;
    options.holdJobs = 2;
    return options;
}

std::vector<std::string> LoginLines(Dialect dialect) {
    switch (dialect) {
        case Dialect::EthProxy:
            return {R"({"id":1,"method":"eth_submitLogin","worker":"rig","params":["0xabc"]})",
                    R"({"id":4,"method":"eth_getWork","params":[]})"};
        case Dialect::Plain:
            return {R"({"id":1,"jsonrpc":"2.0","method":"mining.subscribe","params":[]})",
                    R"({"id":2,"jsonrpc":"2.0","method":"mining.authorize","params":["0xabc.rig","x"]})"};
        case Dialect::NiceHash:
            return {R"({"id":1,"method":"mining.subscribe","params":["Miner/1.0","EthereumStratum/1.0.0"]})",
                    R"({"id":3,"method":"mining.extranonce.subscribe","params":[]})",
                    R"({"id":2,"method":"mining.authorize","params":["0xabc.rig","x"]})"};
        case Dialect::Host:
            break;
    }
    return {R"({"id":1,"method":"mining.subscribe","params":["Miner/1.0",null,"pool.example","4444"]})",
            R"({"id":2,"method":"mining.authorize","params":["0xabc","x"]})"};
}

std::string UserOf(Dialect dialect) {
    return dialect == Dialect::Host ? "0xabc" : "0xabc.rig";
}

std::vector<std::string> LogIn(TestPool& pool, CPoolProtocol& client, Dialect dialect) {
    std::vector<std::string> answers;
    for (const std::string& line : LoginLines(dialect)) {
        const Exchange exchange = client.Receive(line, pool.now);
        EXPECT_FALSE(exchange.drop) << line;
        answers.insert(answers.end(), exchange.lines.begin(), exchange.lines.end());
    }
    return answers;
}
