#pragma once
#include <cstdint>
#include <functional>
#include <vector>
#include "config/MinerConfiguration.h"

// One measurement: true and the round-trip time in ms, or false.
using PingFunction = std::function<bool(const PoolEntry& pool, std::uint32_t& roundTrip)>;

inline constexpr std::uint32_t kUnreachableScore = 999999;

// Five pings; the sum of the middle three round-trip times. A failed ping ends the series: kUnreachableScore.
std::uint32_t LatencyScore(const PoolEntry& pool, const PingFunction& ping);

// Nearest first. Blocks for up to five time-outs a pool: never on the GUI thread.
std::vector<PoolPointer> OrderByLatency(std::vector<PoolPointer> pools, const PingFunction& ping);
