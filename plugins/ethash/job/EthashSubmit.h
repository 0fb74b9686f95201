#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include "ethash/job/EthashJob.h"

// The request id of a share, by which the miner counts the pool's answer for the GPU.
std::uint32_t ShareId(std::int32_t cudaId, std::uint16_t sequence);

struct EthashShare {
    std::uint32_t id = 0;
    std::uint64_t nonce = 0;
    Hash256 mix{};
};

// The request that sends a share, in the dialect of its job, ended by a line feed. wallet and worker are in the code page of
// the login; what would break out of a JSON string is escaped. Pure.
std::string SubmitLine(const EthashJob& job, const EthashShare& share, std::string_view wallet, std::string_view worker);
