#include "mining/Statistics.h"

#include <atomic>

namespace {

void Store(std::uint64_t& word) {
    std::atomic_ref(word).store(0, std::memory_order_relaxed);
}

void Clear(QvHistory& history) {
    for (std::uint64_t& value : history.values)
        Store(value);
    for (std::uint64_t& word : history.bookkeeping)
        Store(word);
}

}  // namespace

void ClearStatistics(CMiningStatistics& statistics) {
    for (std::uint64_t* word : {&statistics.reserved0, &statistics.accepted, &statistics.rejected, &statistics.stale,
                                &statistics.solSpeed, &statistics.hashSpeed}) {
        Store(*word);
    }
    std::atomic_ref(statistics.lastTime).store(0, std::memory_order_relaxed);
    std::atomic_ref(statistics.paused).store(0, std::memory_order_relaxed);
    Clear(statistics.hashHistory);
    Clear(statistics.solHistory);
}
