#pragma once
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <memory>
#include <optional>
#include <string>

#include "common/Hex.h"
#include "devpool_core/Options.h"
#include "devpool_core/PoolProtocol.h"
#include "devpool_core/Target.h"

// The light cache of epoch 0, made once per program.
inline std::shared_ptr<const CEthashCache> TestCache() {
    static const auto cache =
        CEthashCache::Make(EthashVariant::Ethash, EpochOfBlock(EthashVariant::Ethash, 0), SeedOfIndex(0), nullptr);
    return cache;
}

inline EthashResult TestHash(const Hash256& header, std::uint64_t nonce) {
    return Hashimoto(*TestCache(), header, nonce);
}

struct Solution {
    std::string nonce;  // 16 digits
    std::string mix;
};

// The first nonce from start whose hash is a share (or, with wanted false, is none).
inline Solution FindSolution(const Hash256& header, const Hash256& boundary, std::uint64_t start, bool wanted = true) {
    for (std::uint64_t nonce = start;; ++nonce) {
        const EthashResult result = TestHash(header, nonce);
        if ((result.final <= boundary) != wanted) continue;
        std::array<std::uint8_t, 8> bytes{};
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[7 - i] = static_cast<std::uint8_t>(nonce >> (8 * i));
        return {HexText(bytes), HexText(result.mix)};
    }
}

inline rapidjson::Document Json(const std::string& line) {
    rapidjson::Document document;
    document.Parse(line.c_str());
    EXPECT_FALSE(document.HasParseError()) << line;
    return document;
}

// Difficulty of test shares: one hash in four.
inline constexpr double kTestDifficulty = 4;

inline PoolOptions TestOptions(std::optional<Dialect> dialect = std::nullopt) {
    PoolOptions options;
    options.dialect = dialect;
    options.difficulty = kTestDifficulty;
    options.variant = EthashVariant::Ethash;
    options.holdJobs = 2;
    return options;
}

// A pool with one job source, as one process has it; clients are added as protocols.
struct TestPool {
    explicit TestPool(const PoolOptions& poolOptions)
        : options(poolOptions), jobs(TestCache()->Seed(), options.holdJobs, 1), check(TestHash) {}
    CPoolProtocol Client(unsigned number = 1) { return CPoolProtocol({options, jobs, check, statistics}, number); }

    PoolOptions options;
    CJobSource jobs;
    CShareCheck check;
    CStatistics statistics;
    PoolTime now{};
};

// The requests that log a client of a dialect in.
inline std::vector<std::string> LoginLines(Dialect dialect) {
    const std::vector<std::string> lines[] = {
        {R"({"id":1,"method":"eth_submitLogin","worker":"rig","params":["0xabc"]})",
         R"({"id":4,"method":"eth_getWork","params":[]})"},
        {R"({"id":1,"jsonrpc":"2.0","method":"mining.subscribe","params":[]})",
         R"({"id":2,"jsonrpc":"2.0","method":"mining.authorize","params":["0xabc.rig","x"]})"},
        {R"({"id":1,"method":"mining.subscribe","params":["Miner/1.0","EthereumStratum/1.0.0"]})",
         R"({"id":3,"method":"mining.extranonce.subscribe","params":[]})",
         R"({"id":2,"method":"mining.authorize","params":["0xabc.rig","x"]})"},
        {R"({"id":1,"method":"mining.subscribe","params":["Miner/1.0",null,"pool.example","4444"]})",
         R"({"id":2,"method":"mining.authorize","params":["0xabc","x"]})"}};
    return lines[static_cast<std::size_t>(dialect)];
}

// The answers of the pool to all login lines, each with a line end.
inline std::string LogIn(TestPool& pool, CPoolProtocol& client, Dialect dialect) {
    std::string answers;
    for (const std::string& line : LoginLines(dialect)) {
        for (const std::string& answer : client.Receive(line, pool.now).lines)
            answers += answer + "\n";
    }
    return answers;
}

// A share for the current job from GPU 0, as mode 0 writes it.
inline std::string ProxyShare(const TestPool& pool, std::uint64_t start = 0) {
    const Hash256& header = pool.jobs.Current().header;
    const Solution solution = FindSolution(header, BoundaryOfDifficulty(kTestDifficulty), start);
    return R"({"id":65536,"method":"eth_submitWork","params":["0x)" + solution.nonce + "\",\"0x" + HexText(header) +
           "\",\"0x" + solution.mix + "\"]}";
}
