#include "CardSensors.h"

#include <cstdio>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

#ifdef _WIN32
using Library = HMODULE;
Library LoadNvml() {
    return LoadLibraryExW(L"nvml.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}
void* Symbol(Library library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(library, name));
}
#else
using Library = void*;
Library LoadNvml() {
    return dlopen("libnvidia-ml.so.1", RTLD_NOW | RTLD_LOCAL);
}
void* Symbol(Library library, const char* name) {
    return dlsym(library, name);
}
#endif

enum class Clock : std::uint32_t { Core = 1, Memory = 2 };

}  // namespace

// Shapes and numbers of the NVML API reference; the library stays loaded.
struct CSensorReader::Nvml {
    using Result = std::int32_t;  // nvmlReturn_t: 0 is success
    using Device = void*;

    Result (*init)() = nullptr;
    Result (*shutdown)() = nullptr;
    Result (*driverVersion)(char* version, std::uint32_t length) = nullptr;
    Result (*handleByPciBusId)(const char* id, Device* device) = nullptr;
    Result (*clock)(Device device, Clock clock, std::uint32_t* megahertz) = nullptr;
    Result (*power)(Device device, std::uint32_t* milliwatts) = nullptr;
    Result (*powerLimit)(Device device, std::uint32_t* milliwatts) = nullptr;
    Device device = nullptr;

    bool Open(const char* pciBusId) {
        const Library library = LoadNvml();
        if (library == nullptr) return false;
        const auto find = [&](auto& function, const char* name) {
            function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(Symbol(library, name));
            return function != nullptr;
        };
        const bool complete = find(init, "nvmlInit_v2") && find(shutdown, "nvmlShutdown") &&
                              find(driverVersion, "nvmlSystemGetDriverVersion") &&
                              find(handleByPciBusId, "nvmlDeviceGetHandleByPciBusId_v2") &&
                              find(clock, "nvmlDeviceGetClockInfo") && find(power, "nvmlDeviceGetPowerUsage") &&
                              find(powerLimit, "nvmlDeviceGetEnforcedPowerLimit");
        if (!complete || init() != 0) return false;
        if (handleByPciBusId(pciBusId, &device) == 0) return true;
        shutdown();
        return false;
    }
};

CSensorReader::CSensorReader(const CudaDriverApi& api, CudaDevice device) : m_api(api), m_device(device) {
    char pciBusId[32];
    std::snprintf(pciBusId, sizeof pciBusId, "%08x:%02x:%02x.0", static_cast<unsigned>(Attribute(CudaAttribute::PciDomain)),
                  static_cast<unsigned>(Attribute(CudaAttribute::PciBus)),
                  static_cast<unsigned>(Attribute(CudaAttribute::PciDevice)));
    m_nvml = std::make_unique<Nvml>();
    if (!m_nvml->Open(pciBusId)) m_nvml.reset();
}

CSensorReader::~CSensorReader() {
    if (m_nvml) m_nvml->shutdown();
}

std::int32_t CSensorReader::Attribute(CudaAttribute attribute) const {
    std::int32_t value = 0;
    return m_api.DeviceGetAttribute(&value, attribute, m_device) == kCudaSuccess ? value : 0;
}

CardFacts CSensorReader::Facts() const {
    CardFacts facts;
    if (m_api.DriverGetVersion(&facts.cudaVersion) != kCudaSuccess) facts.cudaVersion = 0;
    facts.capabilityMajor = Attribute(CudaAttribute::CapabilityMajor);
    facts.capabilityMinor = Attribute(CudaAttribute::CapabilityMinor);
    facts.multiProcessors = Attribute(CudaAttribute::MultiProcessors);
    facts.coreKilohertz = Attribute(CudaAttribute::ClockKilohertz);
    facts.memoryKilohertz = Attribute(CudaAttribute::MemoryClockKilohertz);
    char version[96] = {};
    if (m_nvml && m_nvml->driverVersion(version, sizeof version - 1) == 0) facts.driverVersion = version;
    return facts;
}

CardSensors CSensorReader::Read() const {
    CardSensors sensors;
    if (!m_nvml) return sensors;
    std::uint32_t value = 0;
    if (m_nvml->clock(m_nvml->device, Clock::Core, &value) == 0) sensors.coreMegahertz = value;
    if (m_nvml->clock(m_nvml->device, Clock::Memory, &value) == 0) sensors.memoryMegahertz = value;
    if (m_nvml->power(m_nvml->device, &value) == 0) sensors.milliwatts = value;
    if (m_nvml->powerLimit(m_nvml->device, &value) == 0) sensors.limitMilliwatts = value;
    return sensors;
}
