#include "FakeDrivers.h"

#include <algorithm>
#include <string_view>

#include "common/CodePage.h"

CudaError CFakeCuda::GetDeviceCount(std::int32_t& count) {
    if (countError == CudaError::Success) count = static_cast<std::int32_t>(devices.size());
    return countError;
}

CudaError CFakeCuda::GetDeviceProperties(std::int32_t index, CudaDeviceProperties& properties) {
    properties = devices.at(static_cast<std::size_t>(index));
    return static_cast<std::size_t>(index) + 1 == devices.size() ? propertiesError : CudaError::Success;
}

const FakeNvmlCard& CFakeNvml::Called(NvmlDevice device, const char* call) {
    static const FakeNvmlCard noCard;
    calls.emplace_back(call);
    return device != nullptr ? *static_cast<const FakeNvmlCard*>(device) : noCard;
}

NvmlDevice CFakeNvml::DeviceByIndex(std::uint32_t index) {
    return index < cards.size() && cards[index].hasHandle ? &cards[index] : nullptr;
}

void CFakeNvml::DeviceName(NvmlDevice device, std::span<char> name) {
    CopyToField(std::string_view(Called(device, "name").name), name);
}

std::optional<NvmlCapability> CFakeNvml::CudaComputeCapability(NvmlDevice device) {
    return Called(device, "capability").capability;
}

std::optional<QvPciInfo> CFakeNvml::PciInfo(NvmlDevice device) {
    return Called(device, "pci").pci;
}

std::optional<NvmlMemory> CFakeNvml::MemoryInfo(NvmlDevice device) {
    return Called(device, "memory").memory;
}

std::optional<std::uint32_t> CFakeNvml::PowerManagementDefaultLimit(NvmlDevice device) {
    Called(device, "default limit");
    return 250000;
}

std::optional<std::uint32_t> CFakeNvml::PowerManagementLimit(NvmlDevice device) {
    Called(device, "limit");
    return 200000;
}

std::optional<std::uint32_t> CFakeNvml::Temperature(NvmlDevice device) {
    return Called(device, "temperature").temperature;
}

std::optional<NvmlUtilization> CFakeNvml::UtilizationRates(NvmlDevice device) {
    return Called(device, "utilization").utilization;
}

std::optional<std::uint32_t> CFakeNvml::Clock(NvmlDevice device, NvmlClock clock) {
    if (clock == NvmlClock::Core) return Called(device, "core clock").coreClock;
    return Called(device, "memory clock").memoryClock;
}

std::optional<std::uint32_t> CFakeNvml::FanSpeed(NvmlDevice device) {
    return Called(device, "fan").fanSpeed;
}

std::optional<std::uint32_t> CFakeNvml::PowerUsage(NvmlDevice device) {
    return Called(device, "power").powerUsage;
}

CudaDeviceProperties CudaCard(const char* name, std::int32_t bus) {
    CudaDeviceProperties properties;
    CopyToField(std::string_view(name), properties.name);
    for (std::size_t i = 0; i < properties.uuid.size(); ++i) {
        properties.uuid[i] = static_cast<std::uint8_t>(0xA0 + bus + static_cast<std::int32_t>(i));
    }
    properties.totalGlobalMem = 6'000'000'000;
    properties.major = 7;
    properties.minor = 5;
    properties.multiProcessorCount = 30 + bus;
    properties.warpSize = 32;
    properties.maxThreadsPerMultiProcessor = 1024;
    properties.pciDomainID = 1;
    properties.pciBusID = bus;
    properties.pciDeviceID = 2;
    return properties;
}

FakeNvmlCard NvmlCard(const char* name, std::uint32_t bus) {
    FakeNvmlCard card;
    card.name = name;
    card.capability = NvmlCapability{.major = 6, .minor = 1};
    QvPciInfo pci = {};
    pci.domain = 1;
    pci.bus = bus;
    pci.device = 2;
    card.pci = pci;
    card.memory = NvmlMemory{.total = 8'589'934'592, .free = 5'000'000'000, .used = 3'589'934'592};
    card.temperature = 61;
    card.utilization = NvmlUtilization{.gpu = 99, .memory = 40};
    card.coreClock = 1710;
    card.memoryClock = 9501;
    card.fanSpeed = 55;
    card.powerUsage = 1999;
    return card;
}
