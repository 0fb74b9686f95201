#include "gpu/CudaRuntime.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::int32_t kLowestDriverVersion = 10000;  // CUDA 10.0, which came with 411.31

// Numbers of CUdevice_attribute (CUDA Driver API reference, "Data types").
struct AttributeRow {
    std::int32_t attribute;
    std::int32_t CudaDeviceProperties::*field;
};
constexpr AttributeRow kAttributes[] = {
    {10, &CudaDeviceProperties::warpSize},
    {16, &CudaDeviceProperties::multiProcessorCount},
    {33, &CudaDeviceProperties::pciBusID},
    {34, &CudaDeviceProperties::pciDeviceID},
    {39, &CudaDeviceProperties::maxThreadsPerMultiProcessor},
    {50, &CudaDeviceProperties::pciDomainID},
    {75, &CudaDeviceProperties::major},
    {76, &CudaDeviceProperties::minor},
};

struct ErrorRow {
    std::int32_t code;
    const char* text;
};
constexpr ErrorRow kErrors[] = {
    {0, "no error"},
    {1, "invalid argument"},
    {2, "out of memory"},
    {3, "initialization error"},
    {4, "driver shutting down"},
    {34, "CUDA driver is a stub library"},
    {35, "CUDA driver version is insufficient for CUDA runtime version"},
    {46, "all CUDA-capable devices are busy or unavailable"},
    {100, "no CUDA-capable device is detected"},
    {101, "invalid device ordinal"},
    {201, "invalid device context"},
    {214, "uncorrectable ECC error encountered"},
    {304, "OS call failed or operation not supported on this OS"},
    {800, "operation not permitted"},
    {801, "operation not supported"},
    {802, "system not yet initialized"},
    {803, "system has unsupported display driver / cuda driver combination"},
    {804, "forward compatibility was attempted on non supported HW"},
    {999, "unknown error"},
};

}  // namespace

CCudaRuntime::CCudaRuntime(const std::wstring& executableFolder)
    : m_library(L"nvcuda.dll", DriverFolders(executableFolder)) {
    m_library.Find("cuInit", m_cuInit);
    m_library.Find("cuDriverGetVersion", m_cuDriverGetVersion);
    m_library.Find("cuDeviceGetCount", m_cuDeviceGetCount);
    m_library.Find("cuDeviceGet", m_cuDeviceGet);
    m_library.Find("cuDeviceGetName", m_cuDeviceGetName);
    m_library.Find("cuDeviceGetUuid_v2", m_cuDeviceGetUuid);
    if (m_cuDeviceGetUuid == nullptr) m_library.Find("cuDeviceGetUuid", m_cuDeviceGetUuid);
    m_library.Find("cuDeviceGetAttribute", m_cuDeviceGetAttribute);
    m_library.Find("cuDeviceTotalMem_v2", m_cuDeviceTotalMem);
}

bool CCudaRuntime::IsComplete() const {
    return m_cuInit != nullptr && m_cuDriverGetVersion != nullptr && m_cuDeviceGetCount != nullptr &&
           m_cuDeviceGet != nullptr && m_cuDeviceGetName != nullptr && m_cuDeviceGetUuid != nullptr &&
           m_cuDeviceGetAttribute != nullptr;
}

std::int32_t CCudaRuntime::DriverVersion() const {
    std::int32_t version = 0;
    const bool known = m_cuDriverGetVersion != nullptr && m_cuDriverGetVersion(&version) == CudaError::Success;
    return known ? version : 0;
}

CudaError CCudaRuntime::InitializeDriver() {
    // An old driver answers its version before it is initialised, but it need not have the newer functions.
    std::int32_t version = 0;
    if (m_cuDriverGetVersion == nullptr) return CudaError::InsufficientDriver;
    const CudaError error = m_cuDriverGetVersion(&version);
    if (error != CudaError::Success) return error;
    if (version < kLowestDriverVersion || !IsComplete()) return CudaError::InsufficientDriver;
    return m_cuInit(0);
}

CudaError CCudaRuntime::GetDeviceCount(std::int32_t& count) {
    std::int32_t devices = 0;
    CudaError error = InitializeDriver();
    if (error == CudaError::Success) error = m_cuDeviceGetCount(&devices);
    if (error != CudaError::Success && error != CudaError::NoDevice) return error;
    count = error == CudaError::Success ? std::max(devices, 0) : 0;
    return CudaError::Success;
}

CudaError CCudaRuntime::GetDeviceProperties(std::int32_t index, CudaDeviceProperties& properties) {
    if (!IsComplete()) return CudaError::InsufficientDriver;
    properties = {};
    std::int32_t device = 0;
    CudaError error = m_cuDeviceGet(&device, index);
    if (error != CudaError::Success) return error;
    error = m_cuDeviceGetName(properties.name, static_cast<std::int32_t>(std::size(properties.name)), device);
    if (error != CudaError::Success) return error;
    properties.name[std::size(properties.name) - 1] = '\0';
    error = m_cuDeviceGetUuid(properties.uuid.data(), device);
    if (error != CudaError::Success) return error;
    // Shown only, so that a failure does no harm.
    std::size_t bytes = 0;
    if (m_cuDeviceTotalMem != nullptr && m_cuDeviceTotalMem(&bytes, device) == CudaError::Success) {
        properties.totalGlobalMem = bytes;
    }
    return ReadAttributes(device, properties);
}

CudaError CCudaRuntime::ReadAttributes(std::int32_t device, CudaDeviceProperties& properties) {
    for (const AttributeRow& row : kAttributes) {
        const CudaError error = m_cuDeviceGetAttribute(&(properties.*row.field), row.attribute, device);
        if (error != CudaError::Success) return error;
    }
    return CudaError::Success;
}

const char* CCudaRuntime::GetErrorString(CudaError error) const {
    const auto row = std::ranges::find(kErrors, static_cast<std::int32_t>(error), &ErrorRow::code);
    return row != std::end(kErrors) ? row->text : "unrecognized error code";
}
