#pragma once
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <memory>
#include <optional>
#include <string>

#include "devpool_core/Options.h"
#include "devpool_core/PoolProtocol.h"

// The light cache of epoch 0, made once per program.
std::shared_ptr<const CEthashCache> TestCache();

struct Solution {
    std::uint64_t nonce = 0;
    Hash256 mix{};
};

// The first nonce from start whose hash is a share (or, with wanted false, is none).
Solution FindSolution(const Hash256& header, const Hash256& boundary, std::uint64_t start, bool wanted = true);

std::string NonceText(std::uint64_t nonce);
rapidjson::Document Json(const std::string& line);

// A pool with one job source, as one process has it; clients are added as protocols.
struct TestPool {
    explicit TestPool(const PoolOptions& poolOptions);
    CPoolProtocol Client(unsigned number = 1) { return CPoolProtocol({options, jobs, check, statistics}, number); }

    PoolOptions options;
    CJobSource jobs;
    CShareCheck check;
    CStatistics statistics;
    PoolTime now{};
};

// Difficulty of test shares: one hash in four.
inline constexpr double kTestDifficulty = 4;
PoolOptions TestOptions(std::optional<Dialect> dialect = std::nullopt);

// The requests that log a client of a dialect in; the user is "0xabc.rig" ("0xabc" in modes 0 and 3).
std::vector<std::string> LoginLines(Dialect dialect);
std::string UserOf(Dialect dialect);
// The answers of the pool to all login lines.
std::vector<std::string> LogIn(TestPool& pool, CPoolProtocol& client, Dialect dialect);
