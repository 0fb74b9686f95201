#include "config/GpuCounters.h"

#include <algorithm>
#include <atomic>
#include <limits>

namespace {

template <typename Word>
Word Load(const Word& word) {
    return std::atomic_ref(const_cast<Word&>(word)).load(std::memory_order_relaxed);
}

// Stays at the greatest number instead of starting again at 0: a plug-in may write anything.
void Add(std::uint64_t& sum, std::uint64_t value) {
    sum = value > std::numeric_limits<std::uint64_t>::max() - sum ? std::numeric_limits<std::uint64_t>::max() : sum + value;
}

}  // namespace

GpuCounters ReadGpuCounters(const QvGpuRecord& gpu) {
    const CMiningStatistics& statistics = gpu.statistics;
    return {Load(statistics.accepted),
            Load(statistics.rejected),
            Load(statistics.stale),
            Load(statistics.hashSpeed),
            {Load(statistics.lastTime)}};
}

GpuCounters SumGpuCounters(GpuSpan gpus) {
    GpuCounters sum;
    for (const QvGpuRecord* gpu : gpus) {
        const GpuCounters counters = ReadGpuCounters(*gpu);
        Add(sum.accepted, counters.accepted);
        Add(sum.rejected, counters.rejected);
        Add(sum.stale, counters.stale);
        Add(sum.hashSpeed, counters.hashSpeed);
        sum.lastShare = std::max(sum.lastShare, counters.lastShare);
    }
    return sum;
}
