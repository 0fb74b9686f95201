#include "pool/PoolOrder.h"

#include <algorithm>
#include <array>
#include <numeric>

std::uint32_t LatencyScore(const PoolEntry& pool, const PingFunction& ping) {
    std::array<std::uint32_t, 5> times = {};
    for (std::uint32_t& time : times) {
        if (!ping(pool, time)) return kUnreachableScore;
    }
    const auto [smallest, largest] = std::minmax_element(times.begin(), times.end());
    const std::uint64_t sum = std::accumulate(times.begin(), times.end(), std::uint64_t{0}) - *smallest - *largest;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(sum, kUnreachableScore));
}

std::vector<PoolPointer> OrderByLatency(std::vector<PoolPointer> pools, const PingFunction& ping) {
    struct LatencyEntry {
        PoolPointer pool;
        std::uint32_t score = 0;
    };
    std::vector<LatencyEntry> entries;
    entries.reserve(pools.size());
    for (const PoolPointer& pool : pools)
        entries.push_back({pool, LatencyScore(*pool, ping)});
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.score < b.score; });
    std::transform(entries.begin(), entries.end(), pools.begin(), [](const auto& entry) { return entry.pool; });
    return pools;
}
