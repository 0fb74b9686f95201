#pragma once
#include <cstdint>
#include "common/Time.h"
#include "config/MinerConfiguration.h"
#include "quorvel/plugin.h"

// What the program uses of a GPU's statistics, or of several together.
struct GpuCounters {
    std::uint64_t accepted = 0;
    std::uint64_t rejected = 0;
    std::uint64_t stale = 0;
    std::uint64_t hashSpeed = 0;  // in the algorithm's unit
    ddt_datetime lastShare;       // UTC; the latest of several, unset: none was sent
};

// Any thread, also while plug-ins write; each number is whole, the set is not of one moment.
GpuCounters ReadGpuCounters(const QvGpuRecord& gpu);
GpuCounters SumGpuCounters(GpuSpan gpus);
