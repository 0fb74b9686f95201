#include "gui/GpuGrid.h"

#include <algorithm>

#include "common/SharedWord.h"
#include "gui/GpuGroup.h"
#include "gui/GpuText.h"
#include "gui/UnitText.h"

namespace {

GridCell SensorCell(const GpuGridSource& source, const QvGpuRecord& gpu, GpuColumn column) {
    if (!HasSensors(gpu)) return {};
    if (column == GpuColumn::Fan) return {FanText(ReadShared(gpu.fanSpeed)), {}};
    if (column == GpuColumn::Power) return {HasPower(gpu) ? PowerText(ReadShared(gpu.powerUsage)) : std::wstring(), {}};
    const std::uint32_t degrees = ReadShared(gpu.temperature);
    const CellMark mark = degrees >= source.hotDegrees    ? CellMark::Problem
                          : degrees >= source.warmDegrees ? CellMark::Warning
                                                          : CellMark::None;
    return {TemperatureText(degrees), mark};
}

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
            return {std::to_wstring(counters.stale), counters.stale > 0 ? CellMark::Problem : CellMark::None};
        case GpuColumn::Efficiency:
            if (counters.hashSpeed == 0 || !HasPower(gpu)) return {};
            return {EfficiencyText(counters.hashSpeed, ReadShared(gpu.powerUsage), PoolUnit(pool, source.algorithms)), {}};
        case GpuColumn::State:
            return {counters.hashSpeed == 0 ? L"" : L"hashing", {}};
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
        case GpuColumn::Temperature:
        case GpuColumn::Fan:
        case GpuColumn::Power:
            return SensorCell(source, gpu, kGpuColumns[column].column);
        default:
            return pool->IsUnassigned() ? GridCell() : AssignedCell(source, gpu, *pool, kGpuColumns[column].column);
    }
}

}  // namespace

GridCell GpuCell(const GpuGridSource& source, std::size_t row, std::size_t column) {
    if (row >= source.gpus.size() || column >= kGpuColumns.size()) return {};
    const QvGpuRecord& gpu = *source.gpus[row];
    GridCell cell = PlainCell(source, gpu, column);
    const auto trouble = std::ranges::find(source.troubledGpus, gpu.cudaId, &GpuTrouble::cudaId);
    if (trouble == source.troubledGpus.end()) return cell;
    cell.mark = CellMark::Problem;
    cell.tip = trouble->reason;
    if (kGpuColumns[column].column == GpuColumn::State) cell.text = trouble->reason;
    return cell;
}

std::wstring GpuSumText(const GpuGridSource& source) {
    if (source.gpus.empty()) return {};
    std::uint32_t watts = 0, hottest = 0;
    std::uint64_t speedOfWatts = 0;
    const std::wstring* unit = nullptr;
    bool isOneUnit = true, hasSensors = false;
    for (const QvGpuRecord* gpu : source.gpus) {
        if (!HasSensors(*gpu)) continue;
        hasSensors = true;
        hottest = std::max(hottest, ReadShared(gpu->temperature));
        if (!HasPower(*gpu)) continue;
        const std::uint32_t power = ReadShared(gpu->powerUsage);
        watts += power;
        const PoolPointer pool = FindGpuPool(source.configuration, *gpu, source.unassignedPool);
        const std::uint64_t speed = ReadGpuCounters(*gpu).hashSpeed;
        if (speed == 0 || pool->IsUnassigned()) continue;
        const std::wstring& ofPool = PoolUnit(*pool, source.algorithms);
        isOneUnit = isOneUnit && (unit == nullptr || *unit == ofPool);
        unit = &ofPool;
        speedOfWatts += speed;
    }
    const std::size_t cards = source.gpus.size();
    std::wstring text = std::to_wstring(cards) + (cards == 1 ? L" card" : L" cards");
    if (watts != 0) text.append(L", ").append(PowerText(watts));
    if (speedOfWatts != 0 && watts != 0 && isOneUnit) text.append(L", ").append(EfficiencyText(speedOfWatts, watts, *unit));
    if (hasSensors) text.append(L", hottest ").append(TemperatureText(hottest));
    return text;
}
