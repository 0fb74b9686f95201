#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include "quorvel/plugin.h"

// The counters of a session's GPUs, summed; lastTime is the latest.
struct StatisticsSum {
    std::uint64_t accepted = 0;
    std::uint64_t rejected = 0;
    std::uint64_t stale = 0;
    std::uint64_t solSpeed = 0;
    std::uint64_t hashSpeed = 0;
    std::int64_t lastTime = 0;
};
StatisticsSum SumStatistics(std::span<QvGpuRecord* const> gpus);

// The "eth_submitHashrate" request: the rate as a 256-bit number in 64 digits, then the client id ("0x" and 64 digits); both
// with "0x" when the pool writes its numbers so. Ends with a line feed.
std::string HashRateRequest(std::uint64_t hashesPerSecond, std::string_view clientId, bool prefix);
