#include "control/ApplyConfiguration.h"
#include <set>

namespace {

// Null: the command brought no such pool. (One of the unassigned pool's ID may have been brought.)
PoolPointer FindBroughtPool(const CConfigurationBuilder& builder, std::uint32_t id) {
    PoolPointer pool = builder.FindPool(id);
    return pool == builder.UnassignedPool() ? nullptr : pool;
}

// A GPU that is named twice is one GPU: it mines for the configuration that names it first. taken: those named so far.
std::vector<QvGpuRecord*> FindGpus(const CConfigurationBuilder& builder, const std::vector<std::string>& ids,
                                   std::set<const QvGpuRecord*>& taken) {
    std::vector<QvGpuRecord*> gpus;
    for (const std::string& id : ids) {
        QvGpuRecord* const gpu = builder.FindGpu(id);
        if (gpu != nullptr && taken.insert(gpu).second) gpus.push_back(gpu);
    }
    return gpus;
}

}  // namespace

std::optional<MinerConfiguration> BuildConfiguration(const ConfigurationCommand& command, CConfigurationBuilder builder) {
    if (command.poolElements > 0 && command.pools.empty()) return std::nullopt;
    for (const PoolEntry& pool : command.pools)
        builder.AddPool(pool);
    std::set<const QvGpuRecord*> taken;
    for (const PoolBinding& binding : command.bindings) {
        ConfigurationEntry entry;
        entry.primaryPool = FindBroughtPool(builder, binding.primaryPoolId);
        entry.secondaryPool = FindBroughtPool(builder, binding.secondaryPoolId);
        if (!entry.primaryPool || !entry.secondaryPool) continue;
        entry.gpus = FindGpus(builder, binding.gpuIds, taken);
        if (!entry.gpus.empty()) builder.AddConfiguration(entry);
    }
    return std::move(builder.configuration);
}
