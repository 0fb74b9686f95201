#pragma once
#include <cstdint>
#include <optional>
#include "common/SharedWord.h"
#include "quorvel/plugin.h"

// The fields of a GPU record that belong to the configuration. They change while other threads and plug-ins read them, so
// the miner reads and writes them only through these functions; any thread.

// What a configuration sets in a GPU record; absent: the record keeps its value.
struct GpuSetting {
    QvGpuRecord* gpu = nullptr;  // never null once stored
    std::optional<std::int32_t> NGM;
    std::optional<std::uint64_t> NGTO;
};

inline std::int32_t ReadNGM(QvGpuRecord& gpu) {
    return ReadShared(gpu.NGM);
}

inline std::uint64_t ReadNGTO(QvGpuRecord& gpu) {
    return ReadShared(gpu.NGTO);
}

inline void ApplyGpuSetting(const GpuSetting& settings) {
    if (settings.NGM) WriteShared(settings.gpu->NGM, *settings.NGM);
    if (settings.NGTO) WriteShared(settings.gpu->NGTO, *settings.NGTO);
}

// The caller of ReadAssignedPool holds the published configuration from before the call for as long as it uses the pool, or
// only compares the address.
inline const PoolEntry* ReadAssignedPool(QvGpuRecord& gpu) {
    return ReadShared(gpu.assignedPool, std::memory_order_acquire);
}

inline void AssignPool(QvGpuRecord& gpu, const PoolEntry& pool) {
    WriteShared(gpu.assignedPool, &pool, std::memory_order_release);
}
