#include "rig/GpuRows.h"

#include <algorithm>

std::vector<GpuRow> GpuRows(const SystemReport* system, const UpdateReport* update) {
    std::vector<GpuRow> rows;
    if (system)
        for (const GpuStatic& gpu : system->gpus)
            rows.push_back({gpu.id, &gpu, nullptr});
    if (!update) return rows;
    for (std::size_t i = 0; i < update->gpus.size(); ++i) {
        const GpuDynamic& gpu = update->gpus[i];
        const auto hasId = [&](const GpuRow& row) { return row.id == gpu.id; };
        // Both reports list the GPUs in one order as a rule.
        auto row = i < rows.size() && hasId(rows[i]) ? rows.begin() + static_cast<std::ptrdiff_t>(i)
                                                     : std::find_if(rows.begin(), rows.end(), hasId);
        if (row == rows.end()) row = rows.insert(rows.end(), {gpu.id, nullptr, nullptr});
        row->live = &gpu;
    }
    return rows;
}
