#include "gui/GpuGroup.h"

#include <algorithm>

#include "gui/GpuText.h"
#include "gui/UnitText.h"

const ConfigurationEntry* FindGpuConfiguration(const MinerConfiguration& configuration, const QvGpuRecord& gpu) {
    const auto& entries = configuration.configurations;
    const auto found = std::find_if(entries.begin(), entries.end(), [&gpu](const ConfigurationEntry& entry) {
        return std::find(entry.gpus.begin(), entry.gpus.end(), &gpu) != entry.gpus.end();
    });
    return found == entries.end() ? nullptr : &*found;
}

PoolPointer FindGpuPool(const MinerConfiguration& configuration, const QvGpuRecord& gpu, const PoolPointer& unassigned) {
    const ConfigurationEntry* entry = FindGpuConfiguration(configuration, gpu);
    if (entry == nullptr || entry->primaryPool->IsUnassigned()) return unassigned;
    const auto found = std::find_if(configuration.pools.begin(), configuration.pools.end(),
                                    [id = entry->primaryPool->ID](const PoolPointer& pool) { return pool->ID == id; });
    return found == configuration.pools.end() ? unassigned : *found;
}

const std::wstring& PoolUnit(const PoolEntry& pool, const CAlgorithmList& algorithms) {
    return algorithms.Find(pool.Algo).unit;
}

GpuStaticGroup MakeGpuStaticGroup(const QvGpuRecord* gpu) {
    if (gpu == nullptr) return {};
    return {GpuTypeText(*gpu), L"V " + CapabilityText(*gpu)};
}

GpuLiveGroup MakeGpuLiveGroup(const QvGpuRecord* gpu, std::wstring_view unit) {
    GpuLiveGroup group;
    if (gpu == nullptr) return group;
    const GpuCounters counters = ReadGpuCounters(*gpu);
    group.hashRate = HashRateText(counters.hashSpeed, unit);
    group.shares = ShareCountsText(counters);
    if (!HasSensors(*gpu)) return group;
    group.temperature = TemperatureText(gpu->temperature);
    group.fan = FanText(gpu->fanSpeed);
    group.coreClock = ClockText(gpu->coreClock);
    group.memoryClock = ClockText(gpu->memoryClock);
    const bool sensible = gpu->memoryUsed <= gpu->memoryTotal;
    group.availableMemory = ByteSizeText(sensible ? gpu->memoryTotal - gpu->memoryUsed : 0);
    return group;
}
