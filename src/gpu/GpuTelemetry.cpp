#include "gpu/GpuTelemetry.h"

#include <atomic>

namespace {

constexpr std::uint32_t kMilliwattsPerWatt = 1000;

template <class Value>
void Store(Value& field, Value value) {
    std::atomic_ref(field).store(value, std::memory_order_relaxed);
}

void StoreRead(std::uint32_t& field, std::optional<std::uint32_t> value) {
    if (value) Store(field, *value);
}

}  // namespace

void UpdateTelemetry(QvGpuRecord& gpu, INvml& nvml) {
    const std::uint32_t state = std::atomic_ref(gpu.telemetryState).load(std::memory_order_relaxed);
    if (state == static_cast<std::uint32_t>(TelemetryState::Excluded)) return;

    StoreRead(gpu.temperature, nvml.Temperature(gpu.nvmlDevice));
    if (const auto rates = nvml.UtilizationRates(gpu.nvmlDevice)) Store(gpu.gpuUtilization, rates->gpu);
    StoreRead(gpu.coreClock, nvml.Clock(gpu.nvmlDevice, NvmlClock::Core));
    StoreRead(gpu.memoryClock, nvml.Clock(gpu.nvmlDevice, NvmlClock::Memory));
    StoreRead(gpu.fanSpeed, nvml.FanSpeed(gpu.nvmlDevice));
    if (const auto memory = nvml.MemoryInfo(gpu.nvmlDevice)) Store(gpu.memoryUsed, memory->used);
    const auto power = nvml.PowerUsage(gpu.nvmlDevice);
    if (power) Store(gpu.powerUsage, *power / kMilliwattsPerWatt);
    Store(gpu.telemetryState, static_cast<std::uint32_t>(power ? TelemetryState::Read : TelemetryState::ReadWithoutPower));
}
