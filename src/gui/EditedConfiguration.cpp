#include "gui/EditedConfiguration.h"

#include <algorithm>

#include "common/CodePage.h"

EditedConfiguration MakeEditedCopy(const MinerConfiguration& configuration) {
    EditedConfiguration edited;
    edited.defaultWorkerName = configuration.DefaultWorkerName;
    for (const PoolPointer& pool : configuration.pools)
        edited.pools.push_back({*pool, pool});
    for (const ConfigurationEntry& entry : configuration.configurations) {
        edited.entries.push_back(
            {entry.primaryPool->ID, entry.secondaryPool->ID, entry.GpuAttributs, entry.PoolAttributs, entry.gpus, false});
    }
    return edited;
}

MinerConfiguration BuildConfiguration(const EditedConfiguration& edited, CConfigurationBuilder builder) {
    CopyToField(edited.defaultWorkerName, builder.configuration.DefaultWorkerName);
    for (const EditedPool& pool : edited.pools) {
        const PoolPointer added = builder.AddPool(pool.entry);
        if (added != nullptr && pool.origin != nullptr) added->lastError = pool.origin->lastError;
    }
    for (const EditedEntry& entry : edited.entries) {
        builder.AddConfiguration({builder.FindPool(entry.primaryPoolId), builder.FindPool(entry.secondaryPoolId),
                                  entry.GpuAttributs, entry.PoolAttributs, entry.gpus});
    }
    return std::move(builder.configuration);
}

const PoolEntry* FindEditedPool(const EditedConfiguration& edited, std::uint32_t id) {
    const auto found =
        std::find_if(edited.pools.begin(), edited.pools.end(), [id](const EditedPool& pool) { return pool.entry.ID == id; });
    return found == edited.pools.end() ? nullptr : &found->entry;
}

std::wstring EntryLabel(const EditedConfiguration& edited, std::size_t index) {
    std::wstring gpus;
    for (const QvGpuRecord* gpu : edited.entries[index].gpus) {
        gpus.append(gpus.empty() ? L"GPU#" : L", GPU#").append(std::to_wstring(gpu->cudaId));
    }
    std::wstring label = std::wstring(L"Configuration ").append(std::to_wstring(index + 1));
    return gpus.empty() ? label : label.append(L" (").append(gpus).append(L")");
}
