#include "gui/GpuCounters.h"

#include <algorithm>
#include <atomic>

namespace {

template <typename Word>
Word Load(const Word& word) {
    return std::atomic_ref(const_cast<Word&>(word)).load(std::memory_order_relaxed);
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
        sum.accepted += counters.accepted;
        sum.rejected += counters.rejected;
        sum.stale += counters.stale;
        sum.hashSpeed += counters.hashSpeed;
        sum.lastShare = std::max(sum.lastShare, counters.lastShare);
    }
    return sum;
}
