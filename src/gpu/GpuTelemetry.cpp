#include "gpu/GpuTelemetry.h"

#include "common/SharedWord.h"

namespace {

constexpr std::uint32_t kMilliwattsPerWatt = 1000;
// More than a PC can hold. NVML's own count would be no better: it tells neither which indices fail nor of lost cards.
constexpr std::uint32_t kMostDevices = 64;

void StoreRead(std::uint32_t& field, std::optional<std::uint32_t> value) {
    if (value) WriteShared(field, *value);
}

}  // namespace

bool SensorReading::HasAny() const {
    return temperature || coreClock || memoryClock || fanSpeed || powerUsage || utilization || memory;
}

SensorReading ReadSensors(NvmlDevice device, INvml& nvml) {
    SensorReading reading;
    reading.temperature = nvml.Temperature(device);
    reading.utilization = nvml.UtilizationRates(device);
    reading.coreClock = nvml.Clock(device, NvmlClock::Core);
    reading.memoryClock = nvml.Clock(device, NvmlClock::Memory);
    reading.fanSpeed = nvml.FanSpeed(device);
    reading.memory = nvml.MemoryInfo(device);
    reading.powerUsage = nvml.PowerUsage(device);
    return reading;
}

NvmlDevice FindDevice(INvml& nvml, const QvPciInfo& pci) {
    for (std::uint32_t index = 0; index < kMostDevices; ++index) {
        const NvmlDevice device = nvml.DeviceByIndex(index);
        const auto found = device != nullptr ? nvml.PciInfo(device) : std::nullopt;
        if (found && found->domain == pci.domain && found->bus == pci.bus && found->device == pci.device) return device;
    }
    return nullptr;
}

void StoreReading(QvGpuRecord& gpu, const SensorReading& reading) {
    StoreRead(gpu.temperature, reading.temperature);
    if (reading.utilization) WriteShared(gpu.gpuUtilization, reading.utilization->gpu);
    StoreRead(gpu.coreClock, reading.coreClock);
    StoreRead(gpu.memoryClock, reading.memoryClock);
    StoreRead(gpu.fanSpeed, reading.fanSpeed);
    if (reading.memory) WriteShared(gpu.memoryUsed, reading.memory->used);
    if (reading.powerUsage) WriteShared(gpu.powerUsage, *reading.powerUsage / kMilliwattsPerWatt);
    const auto state = reading.powerUsage ? TelemetryState::Read : TelemetryState::ReadWithoutPower;
    WriteShared(gpu.telemetryState, static_cast<std::uint32_t>(state));
}

bool IsExcluded(QvGpuRecord& gpu) {
    const std::uint32_t state = ReadShared(gpu.telemetryState);
    return state == static_cast<std::uint32_t>(TelemetryState::Excluded);
}

void UpdateTelemetry(QvGpuRecord& gpu, INvml& nvml) {
    if (!IsExcluded(gpu)) StoreReading(gpu, ReadSensors(gpu.nvmlDevice, nvml));
}
