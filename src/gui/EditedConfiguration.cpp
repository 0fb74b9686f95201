#include "gui/EditedConfiguration.h"

#include <algorithm>
#include <set>

#include "common/CodePage.h"
#include "common/Hex.h"

namespace {

EditedEntry EditedCopy(const ConfigurationEntry& entry) {
    return {entry.primaryPool->ID, entry.secondaryPool->ID, entry.GpuAttributs, entry.PoolAttributs, entry.gpus,
            entry.absentGpus};
}

void LeaveEachGpuToTheFirst(std::vector<EditedEntry>& entries) {
    std::set<const QvGpuRecord*> present;
    std::set<std::array<std::uint8_t, QV_UUID_BYTES>> absent;
    for (EditedEntry& entry : entries) {
        std::erase_if(entry.gpus, [&](const QvGpuRecord* gpu) { return !present.insert(gpu).second; });
        std::erase_if(entry.absentGpus, [&](const AbsentGpu& gpu) { return !absent.insert(gpu.uuid).second; });
    }
}

}  // namespace

EditedConfiguration MakeEditedCopy(const MinerConfiguration& configuration) {
    EditedConfiguration edited;
    edited.defaultWorkerName = configuration.DefaultWorkerName;
    for (const PoolPointer& pool : configuration.pools)
        edited.pools.push_back({*pool, pool});
    for (const ConfigurationEntry& entry : configuration.configurations)
        edited.entries.push_back(EditedCopy(entry));
    for (const AbsentConfiguration& absent : configuration.absentConfigurations) {
        const std::size_t place = std::min(absent.place, edited.entries.size());
        edited.entries.insert(edited.entries.begin() + static_cast<std::ptrdiff_t>(place), EditedCopy(absent.entry));
    }
    LeaveEachGpuToTheFirst(edited.entries);
    return edited;
}

MinerConfiguration BuildConfiguration(const EditedConfiguration& edited, CConfigurationBuilder builder) {
    CopyToField(edited.defaultWorkerName, builder.configuration.DefaultWorkerName);
    for (const EditedPool& pool : edited.pools) {
        const PoolPointer added = builder.AddPool(pool.entry);
        if (added != nullptr && pool.origin != nullptr) added->lastError = pool.origin->lastError;
    }
    std::size_t place = 0;
    for (const EditedEntry& entry : edited.entries) {
        if (!entry.HasCards()) continue;
        ConfigurationEntry built = {builder.FindPool(entry.primaryPoolId),
                                    builder.FindPool(entry.secondaryPoolId),
                                    entry.GpuAttributs,
                                    entry.PoolAttributs,
                                    entry.gpus,
                                    entry.absentGpus};
        if (entry.gpus.empty()) {
            builder.configuration.absentConfigurations.push_back({place, std::move(built)});
        } else {
            builder.AddConfiguration(built);
        }
        ++place;
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
    if (const std::size_t absent = edited.entries[index].absentGpus.size(); absent != 0) {
        gpus.append(gpus.empty() ? L"" : L", ").append(std::to_wstring(absent));
        gpus.append(absent == 1 ? L" card not present" : L" cards not present");
    }
    std::wstring label = std::wstring(L"Configuration ").append(std::to_wstring(index + 1));
    return gpus.empty() ? label : label.append(L" (").append(gpus).append(L")");
}

std::wstring AbsentGpuLabel(const AbsentGpu& gpu) {
    constexpr std::size_t kShownDigits = 8;
    const std::wstring digits = NarrowToWide(HexText(gpu.uuid));
    return L"GPU " + digits.substr(0, kShownDigits) + L"..." + digits.substr(digits.size() - kShownDigits) +
           L" - not present";
}
