#include "gui/ConfigurationEditModel.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "common/CodePage.h"
#include "common/Hex.h"
#include "gui/FieldText.h"

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

namespace {

bool Holds(const EditedEntry& entry, const QvGpuRecord& gpu) {
    return std::find(entry.gpus.begin(), entry.gpus.end(), &gpu) != entry.gpus.end();
}

std::wstring CheckWorkerName(std::wstring_view name) {
    return name.empty() ? L"Enter a worker name" : CheckFieldText(name, kWorkerNameChars - 1);
}

}  // namespace

CConfigurationEditModel::CConfigurationEditModel(ConfigurationPointer base, GpuSpan gpus)
    : m_base(std::move(base)), m_edited(MakeEditedCopy(*m_base)) {
    std::ranges::copy_if(gpus, std::back_inserter(m_gpus), [](const QvGpuRecord* gpu) { return gpu->cudaId >= 0; });
}

EditedEntry& CConfigurationEditModel::Change(std::size_t index) {
    m_changed = true;
    EditedEntry& entry = m_edited.entries[index];
    entry.changed = true;
    return entry;
}

void CConfigurationEditModel::SetWorkerName(std::wstring_view name) {
    std::wstring trimmed = Trimmed(name);
    if (trimmed == m_edited.defaultWorkerName) return;
    m_edited.defaultWorkerName = std::move(trimmed);
    m_workerNameChanged = true;
    m_changed = true;
}

std::size_t CConfigurationEditModel::Add(std::uint32_t primaryPoolId) {
    m_edited.entries.emplace_back();
    Change(Count() - 1).primaryPoolId = primaryPoolId;
    return Count() - 1;
}

void CConfigurationEditModel::Remove(std::size_t index) {
    m_edited.entries.erase(m_edited.entries.begin() + static_cast<std::ptrdiff_t>(index));
    m_changed = true;
}

void CConfigurationEditModel::SetPrimaryPool(std::size_t index, std::uint32_t poolId) {
    if (Entry(index).primaryPoolId != poolId) Change(index).primaryPoolId = poolId;
}

void CConfigurationEditModel::SetBackupPool(std::size_t index, std::uint32_t poolId) {
    if (Entry(index).secondaryPoolId != poolId) Change(index).secondaryPoolId = poolId;
}

std::vector<std::uint32_t> CConfigurationEditModel::BackupChoices(std::size_t index) const {
    std::vector<std::uint32_t> ids;
    const PoolEntry* primary = FindPool(Entry(index).primaryPoolId);
    if (primary == nullptr) return ids;
    for (const EditedPool& pool : m_edited.pools) {
        const PoolEntry& entry = pool.entry;
        if (!entry.IsUnassigned() && entry.ID != primary->ID && entry.Algo == primary->Algo) ids.push_back(entry.ID);
    }
    return ids;
}

bool CConfigurationEditModel::IsChecked(std::size_t index, const QvGpuRecord& gpu) const {
    return Holds(Entry(index), gpu);
}

std::optional<std::size_t> CConfigurationEditModel::OwnerOf(const QvGpuRecord& gpu) const {
    for (std::size_t i = 0; i < Count(); ++i) {
        if (IsChecked(i, gpu)) return i;
    }
    return std::nullopt;
}

GpuMove CConfigurationEditModel::SetChecked(std::size_t index, QvGpuRecord& gpu, bool checked) {
    GpuMove move;
    if (!checked) {
        if (IsChecked(index, gpu)) std::erase(Change(index).gpus, &gpu);
        return move;
    }
    for (std::size_t i = 0; i < Count(); ++i) {
        if (i == index || !IsChecked(i, gpu)) continue;
        EditedEntry& loser = Change(i);
        std::erase(loser.gpus, &gpu);
        move.from.push_back(i);
        if (!loser.HasCards()) move.emptied.push_back(i);
    }
    if (!IsChecked(index, gpu)) Change(index).gpus.push_back(&gpu);
    return move;
}

void CConfigurationEditModel::RemoveAbsent(std::size_t index, std::size_t absent) {
    std::vector<AbsentGpu>& gpus = Change(index).absentGpus;
    gpus.erase(gpus.begin() + static_cast<std::ptrdiff_t>(absent));
}

std::vector<ConfigurationReason> CConfigurationEditModel::Check() const {
    std::vector<ConfigurationReason> reasons;
    if (m_workerNameChanged) {
        std::wstring reason = CheckWorkerName(WorkerName());
        if (!reason.empty()) reasons.push_back({{}, ConfigurationField::WorkerName, std::move(reason)});
    }
    for (std::size_t i = 0; i < Count(); ++i) {
        if (Entry(i).changed) CheckEntry(i, reasons);
    }
    return reasons;
}

void CConfigurationEditModel::CheckEntry(std::size_t index, std::vector<ConfigurationReason>& reasons) const {
    const EditedEntry& entry = Entry(index);
    const PoolEntry* primary = FindPool(entry.primaryPoolId);
    if (primary == nullptr || primary->IsUnassigned()) {
        reasons.push_back({index, ConfigurationField::PrimaryPool, L"Choose a primary pool"});
    } else if (std::wstring reason = CheckBackup(entry, *primary); !reason.empty()) {
        reasons.push_back({index, ConfigurationField::BackupPool, std::move(reason)});
    }
    if (!entry.HasCards()) reasons.push_back({index, ConfigurationField::Gpus, L"Choose at least one GPU"});
}

std::wstring CConfigurationEditModel::CheckBackup(const EditedEntry& entry, const PoolEntry& primary) const {
    if (entry.secondaryPoolId == kUnassignedPoolId) return {};
    const PoolEntry* backup = FindPool(entry.secondaryPoolId);
    if (backup == nullptr) return L"There is no such pool";
    if (backup == &primary) return L"The same as the primary pool";
    return backup->Algo == primary.Algo ? L"" : L"Mines another algorithm than the primary pool";
}

ConfigurationBuild CConfigurationEditModel::Build(CConfigurationBuilder builder) const {
    ConfigurationBuild build;
    build.reasons = Check();
    if (build.reasons.empty()) build.configuration = BuildConfiguration(m_edited, std::move(builder));
    return build;
}
