#include "gpu/Nvml.h"

#include <algorithm>

#include "common/CodePage.h"

namespace {

constexpr std::uint32_t kSensorGpuDie = 0;
constexpr std::uint32_t kClockCurrent = 0;

// What an NVML function writes through its last parameter.
template <class Value, class Function, class... Arguments>
std::optional<Value> Read(Function* function, NvmlDevice device, Arguments... arguments) {
    if (function == nullptr || device == nullptr) return std::nullopt;
    Value value = {};
    if (function(device, arguments..., &value) != 0) return std::nullopt;
    return value;
}

}  // namespace

CNvml::CNvml(const std::wstring& executableFolder) : m_library(L"nvml.dll", DriverFolders(executableFolder)) {
    FindFunctions();
    Initialize();
}

CNvml::~CNvml() {
    ShutDown();
}

void CNvml::Reinitialize() {
    ShutDown();
    Initialize();
}

void CNvml::Initialize() {
    m_initialized = m_init != nullptr && m_init() == 0;
}

void CNvml::ShutDown() {
    if (m_initialized.exchange(false) && m_shutdown != nullptr) m_shutdown();
}

void CNvml::FindFunctions() {
    m_library.Find("nvmlInit_v2", m_init);
    m_library.Find("nvmlShutdown", m_shutdown);
    m_library.Find("nvmlSystemGetDriverVersion", m_driverVersion);
    m_library.Find("nvmlDeviceGetHandleByIndex_v2", m_handleByIndex);
    m_library.Find("nvmlDeviceGetName", m_name);
    m_library.Find("nvmlDeviceGetCudaComputeCapability", m_computeCapability);
    m_library.Find("nvmlDeviceGetPciInfo_v3", m_pciInfo);
    m_library.Find("nvmlDeviceGetMemoryInfo", m_memoryInfo);
    m_library.Find("nvmlDeviceGetPowerManagementDefaultLimit", m_powerDefaultLimit);
    m_library.Find("nvmlDeviceGetPowerManagementLimit", m_powerLimit);
    m_library.Find("nvmlDeviceGetTemperature", m_temperature);
    m_library.Find("nvmlDeviceGetUtilizationRates", m_utilizationRates);
    m_library.Find("nvmlDeviceGetClock", m_clock);
    m_library.Find("nvmlDeviceGetFanSpeed", m_fanSpeed);
    m_library.Find("nvmlDeviceGetPowerUsage", m_powerUsage);
}

std::wstring CNvml::DriverVersion() const {
    char version[80] = {};
    if (!m_initialized || m_driverVersion == nullptr || m_driverVersion(version, sizeof version - 1) != 0) return {};
    return NarrowToWide(version);
}

NvmlDevice CNvml::DeviceByIndex(std::uint32_t index) {
    NvmlDevice device = nullptr;
    if (!m_initialized || m_handleByIndex == nullptr || m_handleByIndex(index, &device) != 0) return nullptr;
    return device;
}

void CNvml::DeviceName(NvmlDevice device, std::span<char> name) {
    std::ranges::fill(name, '\0');
    if (m_name == nullptr || device == nullptr || name.empty()) return;
    if (m_name(device, name.data(), static_cast<std::uint32_t>(name.size())) != 0) name.front() = '\0';
    name.back() = '\0';
}

std::optional<NvmlCapability> CNvml::CudaComputeCapability(NvmlDevice device) {
    if (m_computeCapability == nullptr || device == nullptr) return std::nullopt;
    NvmlCapability capability;
    if (m_computeCapability(device, &capability.major, &capability.minor) != 0) return std::nullopt;
    return capability;
}

std::optional<QvPciInfo> CNvml::PciInfo(NvmlDevice device) {
    return Read<QvPciInfo>(m_pciInfo, device);
}

std::optional<NvmlMemory> CNvml::MemoryInfo(NvmlDevice device) {
    return Read<NvmlMemory>(m_memoryInfo, device);
}

std::optional<std::uint32_t> CNvml::PowerManagementDefaultLimit(NvmlDevice device) {
    return Read<std::uint32_t>(m_powerDefaultLimit, device);
}

std::optional<std::uint32_t> CNvml::PowerManagementLimit(NvmlDevice device) {
    return Read<std::uint32_t>(m_powerLimit, device);
}

std::optional<std::uint32_t> CNvml::Temperature(NvmlDevice device) {
    return Read<std::uint32_t>(m_temperature, device, kSensorGpuDie);
}

std::optional<NvmlUtilization> CNvml::UtilizationRates(NvmlDevice device) {
    return Read<NvmlUtilization>(m_utilizationRates, device);
}

std::optional<std::uint32_t> CNvml::Clock(NvmlDevice device, NvmlClock clock) {
    return Read<std::uint32_t>(m_clock, device, static_cast<std::uint32_t>(clock), kClockCurrent);
}

std::optional<std::uint32_t> CNvml::FanSpeed(NvmlDevice device) {
    return Read<std::uint32_t>(m_fanSpeed, device);
}

std::optional<std::uint32_t> CNvml::PowerUsage(NvmlDevice device) {
    return Read<std::uint32_t>(m_powerUsage, device);
}
