#include "gpu/ManagerMinerGpus.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "common/CodePage.h"
#include "common/Format.h"
#include "common/Hex.h"
#include "common/Version.h"
#include "gpu/GpuTelemetry.h"

namespace {

struct SMtoCoresRow {
    std::int32_t key;  // major * 16 + minor
    std::int32_t cores;
};
constexpr SMtoCoresRow kTable[] = {
    {0x30, 192}, {0x32, 192}, {0x35, 192}, {0x37, 192}, {0x50, 128}, {0x52, 128}, {0x53, 128},
    {0x60, 64},  {0x61, 128}, {0x62, 128}, {0x70, 64},  {0x72, 64},  {0x75, 64},
};
constexpr std::int32_t kDefaultCores = std::rbegin(kTable)->cores;

}  // namespace

std::int32_t MapSMtoCores(std::int32_t major, std::int32_t minor) {
    const auto row = std::ranges::find(kTable, major * 16 + minor, &SMtoCoresRow::key);
    if (row != std::end(kTable)) return row->cores;
    std::printf("MapSMtoCores for SM %d.%d is undefined.  Default to use %d Cores/SM\n", major, minor, kDefaultCores);
    return kDefaultCores;
}

namespace {

constexpr std::wstring_view kDriverPage = L"https://www.nvidia.com/Download/index.aspx";

std::unique_ptr<QvGpuRecord> MakeRecord() {
    auto gpu = std::make_unique<QvGpuRecord>();
    gpu->cudaId = -1;
    gpu->multiProcessors = 1;
    gpu->coresPerMultiProc = 1;
    gpu->totalCores = 1;
    gpu->warpSize = 1;
    gpu->maxThreadsPerMultiProc = 1;
    for (QvGridWords& words : gpu->gridWords)
        words = {.limit = 512, .count = 0};
    gpu->gridCountA = 3;
    gpu->gridCountB = 20;
    return gpu;
}

bool IsAt(const CudaDeviceProperties& properties, const QvPciInfo& pci) {
    return static_cast<std::uint32_t>(properties.pciDomainID) == pci.domain &&
           static_cast<std::uint32_t>(properties.pciBusID) == pci.bus &&
           static_cast<std::uint32_t>(properties.pciDeviceID) == pci.device;
}

// In NVML's notation.
QvPciInfo AddressOf(const CudaDeviceProperties& properties) {
    QvPciInfo pci = {};
    pci.domain = static_cast<std::uint32_t>(properties.pciDomainID);
    pci.bus = static_cast<std::uint32_t>(properties.pciBusID);
    pci.device = static_cast<std::uint32_t>(properties.pciDeviceID);
    FormatTo(pci.busIdLegacy, "%04X:%02X:%02X.0", pci.domain, pci.bus, pci.device);
    FormatTo(pci.busId, "%08X:%02X:%02X.0", pci.domain, pci.bus, pci.device);
    return pci;
}

// What NVML would have told.
void CopyCudaIdentity(QvGpuRecord& gpu, const CudaDeviceProperties& properties) {
    CopyToField(std::string_view(properties.name), gpu.name);
    gpu.ccMajor = properties.major;
    gpu.ccMinor = properties.minor;
    gpu.memoryTotal = properties.totalGlobalMem;
    gpu.pci = AddressOf(properties);
}

}  // namespace

std::int32_t CManagerMinerGpus::Init() {
    m_surroundings.log.LogFormat(LOG_SEVERITY_NORMAL, L"Get CUDA devices");
    std::int32_t count = 0;
    const CudaError error = m_surroundings.cuda.GetDeviceCount(count);
    if (error != CudaError::Success) {
        m_surroundings.showError(CountErrorText(error));
        return kNoCudaDevices;
    }
    const std::vector<CudaDevice> devices = ReadCudaDevices(count);
    if (!m_surroundings.nvml.IsAvailable() && count > 0) {
        m_surroundings.log.LogFormat(LOG_SEVERITY_NORMAL, L"NVML is not available: the GPUs are used without telemetry");
    }
    for (const CudaDevice& device : devices)
        AddByNvmlIndex(device.index, devices);
    for (const CudaDevice& device : devices) {
        if (std::ranges::find(m_gpus, device.index, &QvGpuRecord::cudaId) == m_gpus.end()) AddByAddress(device);
    }
    std::ranges::stable_sort(m_gpus, {}, &QvGpuRecord::cudaId);
    return 0;
}

std::wstring CManagerMinerGpus::CountErrorText(CudaError error) const {
    if (error != CudaError::InsufficientDriver) {
        return L"CUDA error '" + NarrowToWide(m_surroundings.cuda.GetErrorString(error)) + L"'. Cannot continue!";
    }
    std::wstring text = kApplicationName;
    text += L" requires Driver version 411.31 or later! Please update your driver (<a href=\"";
    text.append(kDriverPage).append(L"\">").append(kDriverPage).append(L"</a>)");
    return text;
}

std::vector<CManagerMinerGpus::CudaDevice> CManagerMinerGpus::ReadCudaDevices(std::int32_t count) {
    std::vector<CudaDevice> devices;
    for (std::int32_t index = 0; index < count; ++index) {
        CudaDevice device{.index = index, .properties = {}};
        const CudaError error = m_surroundings.cuda.GetDeviceProperties(index, device.properties);
        if (error != CudaError::Success) {
            char text[512];
            FormatTo(text, "CUDA error '%s' in func '%s' line %d", m_surroundings.cuda.GetErrorString(error),
                     "CManagerMinerGpus::Init", 79);
            throw std::runtime_error(text);
        }
        devices.push_back(device);
    }
    return devices;
}

void CManagerMinerGpus::AddByNvmlIndex(std::int32_t nvmlIndex, std::span<const CudaDevice> devices) {
    const NvmlDevice device = m_surroundings.nvml.DeviceByIndex(static_cast<std::uint32_t>(nvmlIndex));
    const auto pci = m_surroundings.nvml.PciInfo(device);
    if (!pci) return;
    const auto twin = std::ranges::find_if(devices, [&](const CudaDevice& cuda) { return IsAt(cuda.properties, *pci); });
    AddByNvml(device, *pci, twin != devices.end() ? &*twin : nullptr);
}

void CManagerMinerGpus::AddByAddress(const CudaDevice& device) {
    const QvPciInfo pci = AddressOf(device.properties);
    if (const NvmlDevice found = FindDevice(m_surroundings.nvml, pci)) {
        AddByNvml(found, m_surroundings.nvml.PciInfo(found).value_or(pci), &device);
        return;
    }
    auto gpu = MakeRecord();
    CopyCudaIdentity(*gpu, device.properties);
    AddGpu(std::move(gpu), &device);
    if (m_surroundings.nvml.IsAvailable()) {
        m_surroundings.log.LogFormat(LOG_SEVERITY_NORMAL, L"GPU %d is used without telemetry: NVML knows no device at %S",
                                     device.index, pci.busId);
    }
}

void CManagerMinerGpus::AddByNvml(NvmlDevice device, const QvPciInfo& pci, const CudaDevice* twin) {
    INvml& nvml = m_surroundings.nvml;
    auto gpu = MakeRecord();
    gpu->nvmlDevice = device;
    nvml.DeviceName(device, gpu->name);
    const NvmlCapability capability = nvml.CudaComputeCapability(device).value_or(NvmlCapability());
    gpu->ccMajor = capability.major;
    gpu->ccMinor = capability.minor;
    gpu->pci = pci;
    if (const auto memory = nvml.MemoryInfo(device)) gpu->memoryTotal = memory->total;
    AddGpu(std::move(gpu), twin);
}

void CManagerMinerGpus::AddGpu(std::unique_ptr<QvGpuRecord> gpu, const CudaDevice* twin) {
    if (twin != nullptr) {
        gpu->cudaId = twin->index;
        gpu->multiProcessors = twin->properties.multiProcessorCount;
        gpu->warpSize = twin->properties.warpSize;
        gpu->maxThreadsPerMultiProc = twin->properties.maxThreadsPerMultiProcessor;
        std::ranges::copy(twin->properties.uuid, gpu->uuid);
    }
    gpu->coresPerMultiProc = MapSMtoCores(gpu->ccMajor, gpu->ccMinor);
    gpu->totalCores = gpu->multiProcessors * gpu->coresPerMultiProc;
    // Asked for and not kept.
    m_surroundings.nvml.PowerManagementDefaultLimit(gpu->nvmlDevice);
    m_surroundings.nvml.PowerManagementLimit(gpu->nvmlDevice);
    UpdateTelemetry(*gpu, m_surroundings.nvml);

    const std::string uuid = HexText(std::span(gpu->uuid).first<QV_UUID_BYTES>());
    m_surroundings.log.LogFormat(LOG_SEVERITY_NORMAL, L"CUDA-Device %d: UUID:%S  -  %S", gpu->cudaId, uuid.c_str(),
                                 gpu->name);
    gpu->assignedPool = m_surroundings.initialPool();
    m_records.push_back(std::move(gpu));
    m_gpus.push_back(m_records.back().get());
}
