#include "config/GpuCounters.h"

#include <algorithm>
#include <limits>

#include "common/SharedWord.h"

namespace {

// Stays at the greatest number instead of starting again at 0: a plug-in may write anything.
void Add(std::uint64_t& sum, std::uint64_t value) {
    sum = value > std::numeric_limits<std::uint64_t>::max() - sum ? std::numeric_limits<std::uint64_t>::max() : sum + value;
}

}  // namespace

GpuCounters ReadGpuCounters(const QvGpuRecord& gpu) {
    const CMiningStatistics& statistics = gpu.statistics;
    return {ReadShared(statistics.accepted),
            ReadShared(statistics.rejected),
            ReadShared(statistics.stale),
            ReadShared(statistics.hashSpeed),
            {ReadShared(statistics.lastTime)}};
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
