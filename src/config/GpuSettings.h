#pragma once
#include <atomic>
#include <cstdint>
#include <optional>
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
    return std::atomic_ref(gpu.NGM).load(std::memory_order_relaxed);
}

inline std::uint64_t ReadNGTO(QvGpuRecord& gpu) {
    return std::atomic_ref(gpu.NGTO).load(std::memory_order_relaxed);
}

inline void ApplyGpuSetting(const GpuSetting& settings) {
    if (settings.NGM) std::atomic_ref(settings.gpu->NGM).store(*settings.NGM, std::memory_order_relaxed);
    if (settings.NGTO) std::atomic_ref(settings.gpu->NGTO).store(*settings.NGTO, std::memory_order_relaxed);
}

// The caller of ReadAssignedPool holds the published configuration from before the call for as long as it uses the pool, or
// only compares the address.
inline const PoolEntry* ReadAssignedPool(QvGpuRecord& gpu) {
    return std::atomic_ref(gpu.assignedPool).load(std::memory_order_acquire);
}

inline void AssignPool(QvGpuRecord& gpu, const PoolEntry& pool) {
    std::atomic_ref(gpu.assignedPool).store(&pool, std::memory_order_release);
}
