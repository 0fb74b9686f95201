#pragma once
#include <optional>
#include <string>
#include <vector>
#include "config/MinerConfiguration.h"

// A working copy of a published configuration, for the dialogs that change it. Pools are named by ID, so that they can be
// edited, moved and removed freely. One thread.

struct EditedPool {
    PoolEntry entry;
    PoolPointer origin;  // null: added here
};

struct EditedEntry {
    std::uint32_t primaryPoolId = kUnassignedPoolId;
    std::uint32_t secondaryPoolId = kUnassignedPoolId;
    std::uint64_t GpuAttributs = 0;
    std::uint64_t PoolAttributs = 0;
    std::vector<QvGpuRecord*> gpus;
    std::vector<AbsentGpu> absentGpus = {};
    bool changed = false;  // by the user; what came from a file is not blamed on him

    bool HasCards() const { return !gpus.empty() || !absentGpus.empty(); }
};

struct EditedConfiguration {
    std::wstring defaultWorkerName;
    std::vector<EditedPool> pools;
    std::vector<EditedEntry> entries;
};

// Configurations without a present GPU stand among the others, in the file's order. A GPU that two configurations name is in
// the first of them only.
EditedConfiguration MakeEditedCopy(const MinerConfiguration& configuration);

// builder: a fresh one. The pools take the last errors that their origins have by now; the GPUs keep their settings. An
// entry without any card is left out.
MinerConfiguration BuildConfiguration(const EditedConfiguration& edited, CConfigurationBuilder builder);

// The pool with that ID, or null.
const PoolEntry* FindEditedPool(const EditedConfiguration& edited, std::uint32_t id);

// "Configuration <index + 1> (GPU#0, GPU#1, 2 cards not present)".
std::wstring EntryLabel(const EditedConfiguration& edited, std::size_t index);
// "GPU 01234567...89abcdef - not present".
std::wstring AbsentGpuLabel(const AbsentGpu& gpu);

enum class ConfigurationField { WorkerName, PrimaryPool, BackupPool, Gpus };

// Why the configuration cannot be built; for the user.
struct ConfigurationReason {
    std::optional<std::size_t> entry;  // none: it is about the worker name
    ConfigurationField field;
    std::wstring text;
};

// What checking a GPU did beside it.
struct GpuMove {
    std::vector<std::size_t> from;     // the configurations that lost the GPU
    std::vector<std::size_t> emptied;  // those of them that have no GPU now, not even an absent one
};

struct ConfigurationBuild {
    std::optional<MinerConfiguration> configuration;  // absent: there are reasons
    std::vector<ConfigurationReason> reasons;
};

// Configurations and worker name as the user edits them; nothing is in force before what Build gives is published. What
// the user did not touch is taken over as it is, even what Check would refuse. GUI thread. Portable.
class CConfigurationEditModel {
  public:
    // Of gpus those can be checked that CUDA offers; the records outlive the model.
    CConfigurationEditModel(ConfigurationPointer base, GpuSpan gpus);

    // False: another configuration was published since; publishing this one would undo it.
    bool IsBasedOn(const ConfigurationPointer& current) const { return m_base == current; }
    bool IsChanged() const { return m_changed; }

    const std::wstring& WorkerName() const { return m_edited.defaultWorkerName; }
    void SetWorkerName(std::wstring_view name);

    std::size_t Count() const { return m_edited.entries.size(); }
    const EditedEntry& Entry(std::size_t index) const { return m_edited.entries[index]; }
    std::wstring Label(std::size_t index) const { return EntryLabel(m_edited, index); }
    GpuSpan Gpus() const { return m_gpus; }
    std::size_t PoolCount() const { return m_edited.pools.size(); }
    const PoolEntry& Pool(std::size_t index) const { return m_edited.pools[index].entry; }
    const PoolEntry* FindPool(std::uint32_t id) const { return FindEditedPool(m_edited, id); }
    // The pools that can stand in for the configuration's primary one: of the same algorithm.
    std::vector<std::uint32_t> BackupChoices(std::size_t index) const;

    std::size_t Add(std::uint32_t primaryPoolId);  // without GPUs; its index
    void Remove(std::size_t index);
    void SetPrimaryPool(std::size_t index, std::uint32_t poolId);
    void SetBackupPool(std::size_t index, std::uint32_t poolId);

    bool IsChecked(std::size_t index, const QvGpuRecord& gpu) const;
    // The configuration that holds the GPU, if any.
    std::optional<std::size_t> OwnerOf(const QvGpuRecord& gpu) const;
    // A GPU is in one configuration only: it leaves any other.
    GpuMove SetChecked(std::size_t index, QvGpuRecord& gpu, bool checked);
    // absent: its index in the configuration's absentGpus.
    void RemoveAbsent(std::size_t index, std::size_t absent);

    std::vector<ConfigurationReason> Check() const;
    ConfigurationBuild Build(CConfigurationBuilder builder) const;

  private:
    void CheckEntry(std::size_t index, std::vector<ConfigurationReason>& reasons) const;
    std::wstring CheckBackup(const EditedEntry& entry, const PoolEntry& primary) const;
    EditedEntry& Change(std::size_t index);

    const ConfigurationPointer m_base;
    std::vector<QvGpuRecord*> m_gpus;
    EditedConfiguration m_edited;
    bool m_changed = false;
    bool m_workerNameChanged = false;
};
