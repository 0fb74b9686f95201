#pragma once
#include <cstdint>
#include <optional>
#include "gpu/NvmlApi.h"
#include "quorvel/plugin.h"

// Values of QvGpuRecord::telemetryState.
enum class TelemetryState : std::uint32_t { NeverRead = 0, ReadWithoutPower = 1, Read = 2, Excluded = 7 };

// What one look at a GPU gave; empty: that call failed.
struct SensorReading {
    std::optional<std::uint32_t> temperature, coreClock, memoryClock, fanSpeed, powerUsage;
    std::optional<NvmlUtilization> utilization;
    std::optional<NvmlMemory> memory;

    bool HasAny() const;
};

// Any thread; as slow as the driver.
SensorReading ReadSensors(NvmlDevice device, INvml& nvml);
// NVML's device at this PCI address; null: NVML knows none, or cannot open it. Any thread; as slow as the driver.
NvmlDevice FindDevice(INvml& nvml, const QvPciInfo& pci);

// A value that was not read keeps what it was. Each field is a relaxed atomic store, so that other threads may read the
// record meanwhile.
void StoreReading(QvGpuRecord& gpu, const SensorReading& reading);
// Nothing is read of an excluded GPU.
bool IsExcluded(QvGpuRecord& gpu);

// Reads the sensors of one GPU into its record, unless it is excluded. Waits for the driver.
void UpdateTelemetry(QvGpuRecord& gpu, INvml& nvml);
