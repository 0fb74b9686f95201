#include "mining/Statistics.h"

#include "common/SharedWord.h"

namespace {

void Clear(QvHistory& history) {
    for (std::uint64_t& value : history.values)
        WriteShared(value, 0);
    for (std::uint64_t& word : history.bookkeeping)
        WriteShared(word, 0);
}

}  // namespace

void ClearStatistics(CMiningStatistics& statistics) {
    for (std::uint64_t* word : {&statistics.reserved0, &statistics.accepted, &statistics.rejected, &statistics.stale,
                                &statistics.solSpeed, &statistics.hashSpeed}) {
        WriteShared(*word, 0);
    }
    WriteShared(statistics.lastTime, 0);
    WriteShared(statistics.paused, 0);
    Clear(statistics.hashHistory);
    Clear(statistics.solHistory);
}
