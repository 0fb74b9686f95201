#pragma once
#include <cstdint>
#include "gpu/NvmlApi.h"
#include "quorvel/plugin.h"

// Values of QvGpuRecord::telemetryState.
enum class TelemetryState : std::uint32_t { NeverRead = 0, ReadWithoutPower = 1, Read = 2, Excluded = 7 };

// Reads the sensors of one GPU into its record; a value that cannot be read keeps what it was. Does nothing for an excluded
// GPU. GUI thread; each field is a relaxed atomic store, so that other threads may read the record meanwhile.
void UpdateTelemetry(QvGpuRecord& gpu, INvml& nvml);
