#include "gui/GpuGrid.h"

#include <algorithm>

#include "gui/Colors.h"
#include "gui/GpuGroup.h"
#include "gui/GpuText.h"
#include "gui/UnitText.h"

namespace {

// The columns that are empty unless the GPU mines for a pool.
GridCell AssignedCell(const GpuGridSource& source, const QvGpuRecord& gpu, const PoolEntry& pool, GpuColumn column) {
    const GpuCounters counters = ReadGpuCounters(gpu);
    switch (column) {
        case GpuColumn::Speed:
            if (counters.hashSpeed == 0) return {};
            return {HashRateText(counters.hashSpeed, PoolUnit(pool, source.algorithms)), {}};
        case GpuColumn::Shares:
            return {ShareCountsText(counters), {}};
        case GpuColumn::LastShare:
            return {LastShareText(counters.lastShare, source.now), {}};
        case GpuColumn::Stals:
            return {std::to_wstring(counters.stale), counters.stale > 0 ? std::optional(kRed) : std::nullopt};
        default:
            return {};
    }
}

GridCell PlainCell(const GpuGridSource& source, const QvGpuRecord& gpu, std::size_t column) {
    const PoolPointer pool = FindGpuPool(source.configuration, gpu, source.unassignedPool);
    switch (kGpuColumns[column].column) {
        case GpuColumn::Id:
            return {std::to_wstring(gpu.cudaId), {}};
        case GpuColumn::Device:
            return {GpuName(gpu), {}};
        case GpuColumn::CudaVersion:
            return {CapabilityText(gpu), {}};
        case GpuColumn::PoolConfig:
            return {PoolText(*pool, source.algorithms), {}};
        default:
            return pool->IsUnassigned() ? GridCell() : AssignedCell(source, gpu, *pool, kGpuColumns[column].column);
    }
}

}  // namespace

GridCell GpuCell(const GpuGridSource& source, std::size_t row, std::size_t column) {
    if (row >= source.gpus.size() || column >= kGpuColumns.size()) return {};
    const QvGpuRecord& gpu = *source.gpus[row];
    GridCell cell = PlainCell(source, gpu, column);
    if (std::find(source.troubledGpus.begin(), source.troubledGpus.end(), gpu.cudaId) != source.troubledGpus.end())
        cell.textColor = kRed;
    return cell;
}
