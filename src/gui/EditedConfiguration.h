#pragma once
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
