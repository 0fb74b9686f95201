#pragma once
#include <string>
#include <string_view>
#include "config/AlgorithmList.h"
#include "config/MinerConfiguration.h"
#include "quorvel/plugin.h"

// Where a GPU belongs. Portable; any thread.

// The first that holds the GPU, or null; valid as long as the configuration.
const ConfigurationEntry* FindGpuConfiguration(const MinerConfiguration& configuration, const QvGpuRecord& gpu);

// The listed pool that the GPU's configuration names as its primary one, else the unassigned pool. Never null.
PoolPointer FindGpuPool(const MinerConfiguration& configuration, const QvGpuRecord& gpu, const PoolPointer& unassigned);

// Unit of the hash rate of the pool's algorithm; valid as long as the list.
const std::wstring& PoolUnit(const PoolEntry& pool, const CAlgorithmList& algorithms);

// The group "Selected GPU information". Portable; GUI thread. gpu: the selected one; null: every text is empty.

struct GpuStaticGroup {
    std::wstring type, cudaComp;
};

struct GpuLiveGroup {
    std::wstring temperature, fan, coreClock, memoryClock, availableMemory, hashRate, shares;
};

GpuStaticGroup MakeGpuStaticGroup(const QvGpuRecord* gpu);
// unit: of the hash rate. The sensors' texts stay empty as long as the GPU's sensors were never read.
GpuLiveGroup MakeGpuLiveGroup(const QvGpuRecord* gpu, std::wstring_view unit);
