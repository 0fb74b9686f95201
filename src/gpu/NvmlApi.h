#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include "quorvel/plugin.h"

// Shapes and numbers of the NVML API reference.
using NvmlDevice = void*;  // null: no device, for which every call fails

struct NvmlMemory {  // bytes
    std::uint64_t total = 0;
    std::uint64_t free = 0;
    std::uint64_t used = 0;
};

struct NvmlUtilization {  // per cent
    std::uint32_t gpu = 0;
    std::uint32_t memory = 0;
};

struct NvmlCapability {
    std::int32_t major = 0;
    std::int32_t minor = 0;
};

enum class NvmlClock : std::uint32_t { Core = 1, Memory = 2 };

// What discovery and telemetry ask of NVML. Any thread; a call may take long or never return. A call that fails, or that
// this driver's NVML does not have, gives nothing.
class INvml {
  public:
    virtual ~INvml() = default;

    // False: there is no NVML or it could not be initialised, and every call fails.
    virtual bool IsAvailable() const = 0;
    // Every device handle is to be asked for anew afterwards. Not while another thread is inside a call.
    virtual void Reinitialize() = 0;

    // index: NVML's order, which need not be CUDA's. Null: the call failed.
    virtual NvmlDevice DeviceByIndex(std::uint32_t index) = 0;
    // Terminated in any case; empty when the call failed.
    virtual void DeviceName(NvmlDevice device, std::span<char> name) = 0;
    virtual std::optional<NvmlCapability> CudaComputeCapability(NvmlDevice device) = 0;
    virtual std::optional<QvPciInfo> PciInfo(NvmlDevice device) = 0;
    virtual std::optional<NvmlMemory> MemoryInfo(NvmlDevice device) = 0;
    virtual std::optional<std::uint32_t> PowerManagementDefaultLimit(NvmlDevice device) = 0;  // milliwatts
    virtual std::optional<std::uint32_t> PowerManagementLimit(NvmlDevice device) = 0;         // milliwatts
    virtual std::optional<std::uint32_t> Temperature(NvmlDevice device) = 0;                  // degrees Celsius, the GPU die
    virtual std::optional<NvmlUtilization> UtilizationRates(NvmlDevice device) = 0;
    virtual std::optional<std::uint32_t> Clock(NvmlDevice device, NvmlClock clock) = 0;  // MHz, current
    virtual std::optional<std::uint32_t> FanSpeed(NvmlDevice device) = 0;                // per cent
    virtual std::optional<std::uint32_t> PowerUsage(NvmlDevice device) = 0;              // milliwatts
};
