// A simulated nvml.dll: identity and sensors of the cards, answered from SimGpus.ini. Numbers and shapes: NVML API
// reference.
#include <atomic>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "SimConfig.h"
#include "quorvel/plugin.h"

#define SIM_EXPORT extern "C" __declspec(dllexport)

namespace {

enum nvmlReturn_t : std::int32_t {
    NVML_SUCCESS = 0,
    NVML_ERROR_UNINITIALIZED = 1,
    NVML_ERROR_INVALID_ARGUMENT = 2,
    NVML_ERROR_NOT_SUPPORTED = 3,
    NVML_ERROR_NOT_FOUND = 6,
    NVML_ERROR_INSUFFICIENT_SIZE = 7,
    NVML_ERROR_UNKNOWN = 999
};

struct nvmlMemory_t {
    std::uint64_t total, free, used;
};

struct nvmlUtilization_t {
    std::uint32_t gpu, memory;
};

constexpr std::uint32_t kSensorGpuDie = 0;
constexpr std::uint32_t kClockCurrent = 0;
constexpr std::uint32_t kVendorNvidia = 0x10DE;

std::atomic<std::int32_t> users = 0;

// A handle is the card's CUDA index + 1: nothing is allocated, and it stays good whatever the file becomes.
using nvmlDevice_t = void*;

nvmlDevice_t DeviceOf(std::int32_t cudaIndex) {
    return reinterpret_cast<nvmlDevice_t>(static_cast<std::intptr_t>(cudaIndex) + 1);
}

nvmlReturn_t FindSection(nvmlDevice_t device, std::wstring& section) {
    if (users <= 0) return NVML_ERROR_UNINITIALIZED;
    const std::intptr_t number = reinterpret_cast<std::intptr_t>(device);
    if (number < 1 || number > SimGpuCount()) return NVML_ERROR_INVALID_ARGUMENT;
    section = SimGpuSection(static_cast<std::int32_t>(number) - 1);
    return NVML_SUCCESS;
}

template <class Value>
nvmlReturn_t Answer(nvmlDevice_t device, const wchar_t* key, Value* value) {
    std::wstring section;
    const nvmlReturn_t error = FindSection(device, section);
    if (error != NVML_SUCCESS) return error;
    if (value == nullptr) return NVML_ERROR_INVALID_ARGUMENT;
    return SimValue(section, key, *value) ? NVML_SUCCESS : NVML_ERROR_UNKNOWN;
}

}  // namespace

SIM_EXPORT nvmlReturn_t nvmlInit_v2() {
    ++users;
    return NVML_SUCCESS;
}

SIM_EXPORT nvmlReturn_t nvmlShutdown() {
    if (users <= 0) return NVML_ERROR_UNINITIALIZED;
    --users;
    return NVML_SUCCESS;
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetCount_v2(std::uint32_t* count) {
    if (users <= 0) return NVML_ERROR_UNINITIALIZED;
    if (count == nullptr) return NVML_ERROR_INVALID_ARGUMENT;
    *count = static_cast<std::uint32_t>(SimGpuCount());
    return NVML_SUCCESS;
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetHandleByIndex_v2(std::uint32_t index, nvmlDevice_t* device) {
    if (users <= 0) return NVML_ERROR_UNINITIALIZED;
    const std::int32_t count = SimGpuCount();
    if (device == nullptr || std::cmp_greater_equal(index, count)) return NVML_ERROR_INVALID_ARGUMENT;
    for (std::int32_t card = 0; card < count; ++card) {
        std::uint32_t place = 0;
        if (!SimValue(SimGpuSection(card), L"NvmlIndex", place) || place != index) continue;
        *device = DeviceOf(card);
        return NVML_SUCCESS;
    }
    return NVML_ERROR_UNKNOWN;
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetName(nvmlDevice_t device, char* name, std::uint32_t length) {
    std::wstring section;
    const nvmlReturn_t error = FindSection(device, section);
    if (error != NVML_SUCCESS) return error;
    const auto text = SimText(section, L"Name");
    if (!text) return NVML_ERROR_UNKNOWN;
    if (name == nullptr) return NVML_ERROR_INVALID_ARGUMENT;
    if (text->size() >= length) return NVML_ERROR_INSUFFICIENT_SIZE;
    std::memcpy(name, text->c_str(), text->size() + 1);
    return NVML_SUCCESS;
}

SIM_EXPORT nvmlReturn_t nvmlSystemGetDriverVersion(char* version, std::uint32_t length) {
    const auto text = SimText(L"Driver", L"DriverVersion");
    if (!text) return NVML_ERROR_NOT_FOUND;
    if (version == nullptr) return NVML_ERROR_INVALID_ARGUMENT;
    if (text->size() >= length) return NVML_ERROR_INSUFFICIENT_SIZE;
    std::memcpy(version, text->c_str(), text->size() + 1);
    return NVML_SUCCESS;
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetCudaComputeCapability(nvmlDevice_t device, std::int32_t* major, std::int32_t* minor) {
    const nvmlReturn_t error = Answer(device, L"Major", major);
    return error == NVML_SUCCESS ? Answer(device, L"Minor", minor) : error;
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetPciInfo_v3(nvmlDevice_t device, QvPciInfo* pci) {
    if (pci == nullptr) return NVML_ERROR_INVALID_ARGUMENT;
    QvPciInfo info = {};
    nvmlReturn_t error = Answer(device, L"PciDomain", &info.domain);
    if (error == NVML_SUCCESS) error = Answer(device, L"PciBus", &info.bus);
    if (error == NVML_SUCCESS) error = Answer(device, L"PciDevice", &info.device);
    if (error != NVML_SUCCESS) return error;
    info.pciDeviceId = kVendorNvidia;
    std::snprintf(info.busIdLegacy, sizeof info.busIdLegacy, "%04X:%02X:%02X.0", info.domain, info.bus, info.device);
    std::snprintf(info.busId, sizeof info.busId, "%08X:%02X:%02X.0", info.domain, info.bus, info.device);
    *pci = info;
    return NVML_SUCCESS;
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetMemoryInfo(nvmlDevice_t device, nvmlMemory_t* memory) {
    if (memory == nullptr) return NVML_ERROR_INVALID_ARGUMENT;
    nvmlMemory_t read = {};
    nvmlReturn_t error = Answer(device, L"MemoryTotal", &read.total);
    if (error == NVML_SUCCESS) error = Answer(device, L"MemoryUsed", &read.used);
    if (error != NVML_SUCCESS) return error;
    read.free = read.total > read.used ? read.total - read.used : 0;
    *memory = read;
    return NVML_SUCCESS;
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetTemperature(nvmlDevice_t device, std::uint32_t sensor, std::uint32_t* degrees) {
    if (sensor != kSensorGpuDie) return NVML_ERROR_INVALID_ARGUMENT;
    return Answer(device, L"Temperature", degrees);
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetFanSpeed(nvmlDevice_t device, std::uint32_t* percent) {
    return Answer(device, L"FanSpeed", percent);
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetClock(nvmlDevice_t device, std::uint32_t type, std::uint32_t id,
                                           std::uint32_t* megahertz) {
    // Graphics and multiprocessor clock are one on these cards; there is no video clock.
    constexpr const wchar_t* kKeys[] = {L"CoreClock", L"CoreClock", L"MemoryClock"};
    if (type >= std::size(kKeys) || id != kClockCurrent) return NVML_ERROR_NOT_SUPPORTED;
    return Answer(device, kKeys[type], megahertz);
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetPowerUsage(nvmlDevice_t device, std::uint32_t* milliwatts) {
    return Answer(device, L"PowerUsage", milliwatts);
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetUtilizationRates(nvmlDevice_t device, nvmlUtilization_t* rates) {
    if (rates == nullptr) return NVML_ERROR_INVALID_ARGUMENT;
    rates->memory = 0;
    return Answer(device, L"Utilization", &rates->gpu);
}

// The file names no power limits: these cards have none to manage.
SIM_EXPORT nvmlReturn_t nvmlDeviceGetPowerManagementDefaultLimit(nvmlDevice_t, std::uint32_t*) {
    return NVML_ERROR_NOT_SUPPORTED;
}

SIM_EXPORT nvmlReturn_t nvmlDeviceGetPowerManagementLimit(nvmlDevice_t, std::uint32_t*) {
    return NVML_ERROR_NOT_SUPPORTED;
}

SIM_EXPORT const char* nvmlErrorString(nvmlReturn_t error) {
    switch (error) {
        case NVML_SUCCESS:
            return "The operation was successful";
        case NVML_ERROR_UNINITIALIZED:
            return "NVML was not first initialized";
        case NVML_ERROR_INVALID_ARGUMENT:
            return "A supplied argument is invalid";
        case NVML_ERROR_NOT_SUPPORTED:
            return "The requested operation is not available on the simulated device";
        case NVML_ERROR_NOT_FOUND:
            return "The query found no object";
        case NVML_ERROR_INSUFFICIENT_SIZE:
            return "An input argument is not large enough";
        default:
            return "An internal error occurred";
    }
}
