#pragma once
#include <string>
#include <string_view>
#include "quorvel/plugin.h"

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
