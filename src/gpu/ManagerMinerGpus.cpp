#include "gpu/ManagerMinerGpus.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "common/CodePage.h"
#include "common/Format.h"
#include "common/Hex.h"
#include "common/Version.h"
#include "gpu/GpuTelemetry.h"
#include "gpu/SMtoCores.h"

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

// What NVML would have told, in its notation of a PCI address.
void CopyCudaIdentity(QvGpuRecord& gpu, const CudaDeviceProperties& properties) {
    CopyToField(std::string_view(properties.name), gpu.name);
    gpu.ccMajor = properties.major;
    gpu.ccMinor = properties.minor;
    gpu.memoryTotal = properties.totalGlobalMem;
    gpu.pci.domain = static_cast<std::uint32_t>(properties.pciDomainID);
    gpu.pci.bus = static_cast<std::uint32_t>(properties.pciBusID);
    gpu.pci.device = static_cast<std::uint32_t>(properties.pciDeviceID);
    FormatTo(gpu.pci.busIdLegacy, "%04X:%02X:%02X.0", gpu.pci.domain, gpu.pci.bus, gpu.pci.device);
    FormatTo(gpu.pci.busId, "%08X:%02X:%02X.0", gpu.pci.domain, gpu.pci.bus, gpu.pci.device);
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
    const bool hasNvml = m_surroundings.nvml.IsAvailable();
    if (!hasNvml && count > 0) {
        m_surroundings.log.LogFormat(LOG_SEVERITY_NORMAL, L"NVML is not available: the GPUs are used without telemetry");
    }
    for (const CudaDevice& device : devices) {
        if (hasNvml) {
            AddByNvml(device.index, devices);
        } else {
            AddByCuda(device);
        }
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

void CManagerMinerGpus::AddByNvml(std::int32_t nvmlIndex, std::span<const CudaDevice> devices) {
    INvml& nvml = m_surroundings.nvml;
    auto gpu = MakeRecord();
    gpu->nvmlDevice = nvml.DeviceByIndex(static_cast<std::uint32_t>(nvmlIndex));
    nvml.DeviceName(gpu->nvmlDevice, gpu->name);
    const NvmlCapability capability = nvml.CudaComputeCapability(gpu->nvmlDevice).value_or(NvmlCapability());
    gpu->ccMajor = capability.major;
    gpu->ccMinor = capability.minor;
    gpu->pci = nvml.PciInfo(gpu->nvmlDevice).value_or(QvPciInfo());
    if (const auto memory = nvml.MemoryInfo(gpu->nvmlDevice)) gpu->memoryTotal = memory->total;
    const auto twin =
        std::ranges::find_if(devices, [&](const CudaDevice& device) { return IsAt(device.properties, gpu->pci); });
    AddGpu(std::move(gpu), twin != devices.end() ? &*twin : nullptr);
}

void CManagerMinerGpus::AddByCuda(const CudaDevice& device) {
    auto gpu = MakeRecord();
    CopyCudaIdentity(*gpu, device.properties);
    AddGpu(std::move(gpu), &device);
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
