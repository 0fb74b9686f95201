#include "mining/HashRateReport.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>

#include "common/Hex.h"

namespace {

constexpr int kRequestId = 5;
constexpr std::size_t kPrefixLength = 2;  // "0x"

template <typename Word>
Word Load(const Word& word) {
    return std::atomic_ref(const_cast<Word&>(word)).load(std::memory_order_relaxed);
}

// Stays at the greatest number instead of starting again at 0: a plug-in may write anything.
void Add(std::uint64_t& sum, std::uint64_t value) {
    sum = value > std::numeric_limits<std::uint64_t>::max() - sum ? std::numeric_limits<std::uint64_t>::max() : sum + value;
}

}  // namespace

StatisticsSum SumStatistics(std::span<QvGpuRecord* const> gpus) {
    StatisticsSum sum;
    for (const QvGpuRecord* gpu : gpus) {
        const CMiningStatistics& statistics = gpu->statistics;
        Add(sum.accepted, Load(statistics.accepted));
        Add(sum.rejected, Load(statistics.rejected));
        Add(sum.stale, Load(statistics.stale));
        Add(sum.solSpeed, Load(statistics.solSpeed));
        Add(sum.hashSpeed, Load(statistics.hashSpeed));
        sum.lastTime = std::max(sum.lastTime, Load(statistics.lastTime));
    }
    return sum;
}

std::string HashRateRequest(std::uint64_t hashesPerSecond, std::string_view clientId, bool prefix) {
    std::array<std::uint8_t, 32> number = {};  // most significant byte first
    for (std::size_t i = 0; i < sizeof(hashesPerSecond); ++i) {
        number[number.size() - 1 - i] = static_cast<std::uint8_t>(hashesPerSecond >> (8 * i));
    }
    if (!prefix) clientId.remove_prefix(std::min(clientId.size(), kPrefixLength));
    return "{\"id\":" + std::to_string(kRequestId) +
           ",\"jsonrpc\":\"2.0\",\"method\":\"eth_submitHashrate\",\"params\":[\"" + (prefix ? "0x" : "") + HexText(number) +
           "\", \"" + std::string(clientId) + "\"]}\n";
}
