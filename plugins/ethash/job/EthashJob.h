#pragma once
#include <cstdint>
#include <string>
#include "ethash/hash/Ethash.h"
#include "kit/NonceRange.h"
#include "quorvel/plugin.h"

// The dialects that this family speaks; the values are the work block's protocol modes.
enum class EthashDialect : std::int32_t {
    EthProxy = 0,  // [header, seed, boundary]
    Plain = 1,     // [job, header, seed, boundary, ...]
    NiceHash =
        2,  // [job, seed, header, clean], target from the difficulty (1 before any), the nonce begins with the extranonce
};

struct EthashJob {
    EthashDialect dialect = EthashDialect::EthProxy;
    std::string jobId;       // as received
    std::string headerText;  // as received; echoed with a share
    Hash256 header{};
    Hash256 seed{};
    Hash256 target{};  // most significant byte first: a hash up to and including it is a share
    NonceSpace nonces;
    bool cleans = true;  // the pool takes no more shares of the jobs before

    bool operator==(const EthashJob&) const = default;
    // Equal but for the target and what becomes of earlier jobs: what was hashed for one counts for the other.
    bool IsSameWork(const EthashJob& other) const;
};

enum class JobState {
    None,       // no job yet
    NotSpoken,  // a protocol mode that this family does not speak
    Malformed,
    Ready,
};

struct ParsedJob {
    JobState state = JobState::None;
    const char* problem = "";  // of a malformed job
    EthashJob job;             // when ready
};

// Reads a copy of a work block: nothing in it is trusted, not even the terminators. Does not follow its pointers. Pure.
ParsedJob ParseEthashJob(const StratumWorkBlock& block);
