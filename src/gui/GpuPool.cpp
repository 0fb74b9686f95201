#include "gui/GpuPool.h"

#include <algorithm>

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
