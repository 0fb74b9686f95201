#include "control/ApplyConfiguration.h"
#include <algorithm>

namespace {

// Null: the command brought no such pool. (One of the unassigned pool's ID may have been brought.)
PoolPointer FindBroughtPool(const CConfigurationBuilder& builder, std::uint32_t id) {
    PoolPointer pool = builder.FindPool(id);
    return pool == builder.UnassignedPool() ? nullptr : pool;
}

// A GPU that is named twice is one GPU: it cannot mine twice for one configuration.
std::vector<QvGpuRecord*> FindGpus(const CConfigurationBuilder& builder, const std::vector<std::string>& ids) {
    std::vector<QvGpuRecord*> gpus;
    for (const std::string& id : ids) {
        QvGpuRecord* const gpu = builder.FindGpu(id);
        if (gpu != nullptr && std::ranges::find(gpus, gpu) == gpus.end()) gpus.push_back(gpu);
    }
    return gpus;
}

}  // namespace

std::optional<MinerConfiguration> BuildConfiguration(const ConfigurationCommand& command, CConfigurationBuilder builder) {
    if (command.poolElements > 0 && command.pools.empty()) return std::nullopt;
    for (const PoolEntry& pool : command.pools)
        builder.AddPool(pool);
    for (const PoolBinding& binding : command.bindings) {
        ConfigurationEntry entry;
        entry.primaryPool = FindBroughtPool(builder, binding.primaryPoolId);
        entry.secondaryPool = FindBroughtPool(builder, binding.secondaryPoolId);
        if (!entry.primaryPool || !entry.secondaryPool) continue;
        entry.gpus = FindGpus(builder, binding.gpuIds);
        if (!entry.gpus.empty()) builder.AddConfiguration(entry);
    }
    return std::move(builder.configuration);
}
