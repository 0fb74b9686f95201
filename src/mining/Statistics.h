#pragma once
#include <cstdint>
#include "quorvel/plugin.h"

// Shares of one GPU or of several.
struct ShareCounts {
    std::uint64_t accepted = 0;
    std::uint64_t rejected = 0;
    std::uint64_t stale = 0;
};

// All words of the block to 0. Only while no plug-in mines with the GPU.
void ClearStatistics(CMiningStatistics& statistics);

// Any thread, also while they change.
ShareCounts ReadShareCounts(const CMiningStatistics& statistics);
