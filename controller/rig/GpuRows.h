#pragma once
#include <string>
#include <vector>

#include "rig/Reports.h"

// One GPU of a rig: what its two reports say about it. Either may be missing; both pointers live as long as the reports.
struct GpuRow {
    std::string id;
    const GpuStatic* fixed = nullptr;
    const GpuDynamic* live = nullptr;
};

// In the order of the system report, then GPUs that only the update knows. Both reports may be null.
std::vector<GpuRow> GpuRows(const SystemReport* system, const UpdateReport* update);
