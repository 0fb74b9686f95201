#pragma once
#include <string>
#include "config/AlgorithmList.h"
#include "config/MinerConfiguration.h"

// Where a GPU belongs. Portable; any thread.

// The first that holds the GPU, or null; valid as long as the configuration.
const ConfigurationEntry* FindGpuConfiguration(const MinerConfiguration& configuration, const QvGpuRecord& gpu);

// The listed pool that the GPU's configuration names as its primary one, else the unassigned pool. Never null.
PoolPointer FindGpuPool(const MinerConfiguration& configuration, const QvGpuRecord& gpu, const PoolPointer& unassigned);

// Unit of the hash rate of the pool's algorithm; valid as long as the list.
const std::wstring& PoolUnit(const PoolEntry& pool, const CAlgorithmList& algorithms);
