// A simulated nvcuda.dll: the device queries of the CUDA driver API, answered from SimGpus.ini. Whatever would compute is
// refused with CUDA_ERROR_NOT_SUPPORTED, or with Computes=1 done by the CPU, for the kernels of this project alone. Numbers
// and shapes: CUDA Driver API reference.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>

#include "SimConfig.h"
#include "cards/FakeCudaDriver.h"

#define SIM_EXPORT extern "C" __declspec(dllexport)

namespace {

enum CUresult : std::int32_t {
    CUDA_SUCCESS = 0,
    CUDA_ERROR_INVALID_VALUE = 1,
    CUDA_ERROR_OUT_OF_MEMORY = 2,
    CUDA_ERROR_NOT_INITIALIZED = 3,
    CUDA_ERROR_NO_DEVICE = 100,
    CUDA_ERROR_INVALID_DEVICE = 101,
    CUDA_ERROR_NOT_SUPPORTED = 801,
    CUDA_ERROR_UNKNOWN = 999
};
using CUdevice = std::int32_t;

struct CUuuid {
    std::uint8_t bytes[16];
};

struct AttributeKey {
    std::int32_t attribute;
    const wchar_t* key;
};
constexpr AttributeKey kAttributes[] = {
    {10, L"WarpSize"},  {16, L"MultiProcessors"}, {33, L"PciBus"}, {34, L"PciDevice"}, {39, L"MaxThreadsPerMultiProcessor"},
    {50, L"PciDomain"}, {75, L"Major"},           {76, L"Minor"},
};

struct ErrorName {
    CUresult error;
    const char* name;
    const char* text;
};
constexpr ErrorName kErrors[] = {
    {CUDA_SUCCESS, "CUDA_SUCCESS", "no error"},
    {CUDA_ERROR_INVALID_VALUE, "CUDA_ERROR_INVALID_VALUE", "invalid argument"},
    {CUDA_ERROR_OUT_OF_MEMORY, "CUDA_ERROR_OUT_OF_MEMORY", "out of memory"},
    {CUDA_ERROR_NOT_INITIALIZED, "CUDA_ERROR_NOT_INITIALIZED", "initialization error"},
    {CUDA_ERROR_NO_DEVICE, "CUDA_ERROR_NO_DEVICE", "no CUDA-capable device is detected"},
    {CUDA_ERROR_INVALID_DEVICE, "CUDA_ERROR_INVALID_DEVICE", "invalid device ordinal"},
    {CUDA_ERROR_NOT_SUPPORTED, "CUDA_ERROR_NOT_SUPPORTED", "operation not supported (simulated GPU)"},
    {CUDA_ERROR_UNKNOWN, "CUDA_ERROR_UNKNOWN", "unknown error"},
};

std::atomic<bool> initialized = false;

// The number of the card's section; CUDA_VISIBLE_DEVICES (numbers only) chooses and orders the devices up to its first entry
// that names none.
std::int32_t CardOf(CUdevice device) {
    char text[256] = {};
    const DWORD length = GetEnvironmentVariableA("CUDA_VISIBLE_DEVICES", text, sizeof text);
    if (length == 0 || length >= sizeof text) return device < SimGpuCount() ? device : -1;
    const char* next = text;
    for (CUdevice place = 0;; ++place) {
        char* end = nullptr;
        const long card = std::strtol(next, &end, 10);
        if (end == next || card < 0 || card >= SimGpuCount()) return -1;
        if (place == device) return static_cast<std::int32_t>(card);
        if (*end != ',') return -1;
        next = end + 1;
    }
}

std::int32_t DeviceCount() {
    std::int32_t count = 0;
    while (count < SimGpuCount() && CardOf(count) >= 0)
        ++count;
    return count;
}

CUresult CheckDevice(CUdevice device) {
    if (!initialized) return CUDA_ERROR_NOT_INITIALIZED;
    return device >= 0 && device < DeviceCount() ? CUDA_SUCCESS : CUDA_ERROR_INVALID_DEVICE;
}

CUresult FindError(CUresult error, const char* ErrorName::*member, const char** text) {
    if (text == nullptr) return CUDA_ERROR_INVALID_VALUE;
    const auto row = std::ranges::find(kErrors, error, &ErrorName::error);
    *text = row != std::end(kErrors) ? row->*member : nullptr;
    return *text != nullptr ? CUDA_SUCCESS : CUDA_ERROR_INVALID_VALUE;
}

}  // namespace

SIM_EXPORT CUresult cuInit(unsigned flags) {
    if (flags != 0) return CUDA_ERROR_INVALID_VALUE;
    std::int32_t error = CUDA_ERROR_UNKNOWN;
    SimValue(L"Driver", L"InitError", error);
    if (error == CUDA_SUCCESS && DeviceCount() == 0) error = CUDA_ERROR_NO_DEVICE;
    initialized = error == CUDA_SUCCESS;
    return static_cast<CUresult>(error);
}

SIM_EXPORT CUresult cuDriverGetVersion(std::int32_t* version) {
    if (version == nullptr) return CUDA_ERROR_INVALID_VALUE;
    return SimValue(L"Driver", L"Version", *version) ? CUDA_SUCCESS : CUDA_ERROR_UNKNOWN;
}

SIM_EXPORT CUresult cuDeviceGetCount(std::int32_t* count) {
    if (!initialized) return CUDA_ERROR_NOT_INITIALIZED;
    if (count == nullptr) return CUDA_ERROR_INVALID_VALUE;
    *count = DeviceCount();
    return CUDA_SUCCESS;
}

SIM_EXPORT CUresult cuDeviceGet(CUdevice* device, std::int32_t ordinal) {
    if (device == nullptr) return CUDA_ERROR_INVALID_VALUE;
    const CUresult error = CheckDevice(ordinal);
    if (error == CUDA_SUCCESS) *device = ordinal;
    return error;
}

SIM_EXPORT CUresult cuDeviceGetName(char* name, std::int32_t length, CUdevice device) {
    if (name == nullptr || length <= 0) return CUDA_ERROR_INVALID_VALUE;
    const CUresult error = CheckDevice(device);
    if (error != CUDA_SUCCESS) return error;
    const auto text = SimText(SimGpuSection(CardOf(device)), L"Name");
    if (!text) return CUDA_ERROR_UNKNOWN;
    const std::size_t copied = text->copy(name, static_cast<std::size_t>(length) - 1);
    name[copied] = '\0';
    return CUDA_SUCCESS;
}

SIM_EXPORT CUresult cuDeviceGetUuid(CUuuid* uuid, CUdevice device) {
    if (uuid == nullptr) return CUDA_ERROR_INVALID_VALUE;
    const CUresult error = CheckDevice(device);
    if (error != CUDA_SUCCESS) return error;
    return SimUuid(CardOf(device), uuid->bytes) ? CUDA_SUCCESS : CUDA_ERROR_UNKNOWN;
}

SIM_EXPORT CUresult cuDeviceGetUuid_v2(CUuuid* uuid, CUdevice device) {
    return cuDeviceGetUuid(uuid, device);
}

SIM_EXPORT CUresult cuDeviceGetAttribute(std::int32_t* value, std::int32_t attribute, CUdevice device) {
    const auto row = std::ranges::find(kAttributes, attribute, &AttributeKey::attribute);
    if (value == nullptr || row == std::end(kAttributes)) return CUDA_ERROR_INVALID_VALUE;
    const CUresult error = CheckDevice(device);
    if (error != CUDA_SUCCESS) return error;
    return SimValue(SimGpuSection(CardOf(device)), row->key, *value) ? CUDA_SUCCESS : CUDA_ERROR_UNKNOWN;
}

SIM_EXPORT CUresult cuDeviceTotalMem_v2(std::size_t* bytes, CUdevice device) {
    if (bytes == nullptr) return CUDA_ERROR_INVALID_VALUE;
    const CUresult error = CheckDevice(device);
    if (error != CUDA_SUCCESS) return error;
    return SimValue(SimGpuSection(CardOf(device)), L"MemoryTotal", *bytes) ? CUDA_SUCCESS : CUDA_ERROR_UNKNOWN;
}

SIM_EXPORT CUresult cuGetErrorName(CUresult error, const char** name) {
    return FindError(error, &ErrorName::name, name);
}

SIM_EXPORT CUresult cuGetErrorString(CUresult error, const char** text) {
    return FindError(error, &ErrorName::text, text);
}

// ---- What computes -------------------------------------------------------------------------------------------------------

namespace {

// Never destroyed: at the end of the process its threads are gone already.
CFakeCudaDriver& Cards() {
    static CFakeCudaDriver& cards = *new CFakeCudaDriver;
    return cards;
}

CUresult CheckComputes() {
    if (!initialized) return CUDA_ERROR_NOT_INITIALIZED;
    std::int32_t computes = 0;
    return SimValue(L"Driver", L"Computes", computes) && computes == 1 ? CUDA_SUCCESS : CUDA_ERROR_NOT_SUPPORTED;
}

// Of one card. All cards' memory is counted together.
CUresult FreeMemory(CUdevice device, std::uint64_t& freeBytes, std::uint64_t& totalBytes) {
    std::uint64_t used = 0;
    const std::wstring section = SimGpuSection(CardOf(device));
    if (!SimValue(section, L"MemoryTotal", totalBytes) || !SimValue(section, L"MemoryUsed", used)) return CUDA_ERROR_UNKNOWN;
    used += Cards().AllocatedBytes();
    freeBytes = totalBytes - std::min(used, totalBytes);
    return CUDA_SUCCESS;
}

}  // namespace

SIM_EXPORT CUresult cuMemGetInfo_v2(std::size_t* freeBytes, std::size_t* totalBytes) {
    const CUresult error = CheckComputes();
    if (error != CUDA_SUCCESS) return error;
    return FreeMemory(Cards().CurrentDevice(), *freeBytes, *totalBytes);
}

SIM_EXPORT CUresult cuMemAlloc_v2(CudaAddress* address, std::size_t bytes) {
    const CUresult error = CheckComputes();
    if (error != CUDA_SUCCESS) return error;
    std::uint64_t freeBytes = 0, totalBytes = 0;
    const CUresult known = FreeMemory(Cards().CurrentDevice(), freeBytes, totalBytes);
    if (known != CUDA_SUCCESS) return known;
    return freeBytes < bytes ? CUDA_ERROR_OUT_OF_MEMORY : static_cast<CUresult>(Cards().Api().MemAlloc(address, bytes));
}

#define SIM_COMPUTE(name, member, parameters, arguments)              \
    SIM_EXPORT CUresult name parameters {                             \
        const CUresult error = CheckComputes();                       \
        if (error != CUDA_SUCCESS) return error;                      \
        return static_cast<CUresult>(Cards().Api().member arguments); \
    }

SIM_COMPUTE(cuCtxCreate_v2, CtxCreate, (CudaContextObject * *context, unsigned flags, CudaDevice device),
            (context, flags, device))
SIM_COMPUTE(cuCtxDestroy_v2, CtxDestroy, (CudaContextObject * context), (context))
SIM_COMPUTE(cuCtxSetLimit, CtxSetLimit, (CudaLimit limit, std::size_t value), (limit, value))
SIM_COMPUTE(cuModuleLoadDataEx, ModuleLoadDataEx,
            (CudaModuleObject * *module, const void* image, unsigned count, CudaJitOption* options, void** values),
            (module, image, count, options, values))
SIM_COMPUTE(cuModuleUnload, ModuleUnload, (CudaModuleObject * module), (module))
SIM_COMPUTE(cuModuleGetFunction, ModuleGetFunction,
            (CudaFunctionObject * *function, CudaModuleObject* module, const char* name), (function, module, name))
SIM_COMPUTE(cuMemFree_v2, MemFree, (CudaAddress address), (address))
SIM_COMPUTE(cuMemHostAlloc, MemHostAlloc, (void** memory, std::size_t bytes, unsigned flags), (memory, bytes, flags))
SIM_COMPUTE(cuMemHostGetDevicePointer_v2, MemHostGetDevicePointer, (CudaAddress * address, void* memory, unsigned flags),
            (address, memory, flags))
SIM_COMPUTE(cuMemFreeHost, MemFreeHost, (void* memory), (memory))
SIM_COMPUTE(cuMemcpyHtoD_v2, MemcpyHtoD, (CudaAddress to, const void* from, std::size_t bytes), (to, from, bytes))
SIM_COMPUTE(cuMemcpyHtoDAsync_v2, MemcpyHtoDAsync,
            (CudaAddress to, const void* from, std::size_t bytes, CudaStreamObject* stream), (to, from, bytes, stream))
SIM_COMPUTE(cuMemcpyDtoH_v2, MemcpyDtoH, (void* to, CudaAddress from, std::size_t bytes), (to, from, bytes))
SIM_COMPUTE(cuMemsetD8_v2, MemsetD8, (CudaAddress address, std::uint8_t value, std::size_t bytes), (address, value, bytes))
SIM_COMPUTE(cuMemsetD8Async, MemsetD8Async,
            (CudaAddress address, std::uint8_t value, std::size_t bytes, CudaStreamObject* stream),
            (address, value, bytes, stream))
SIM_COMPUTE(cuStreamCreate, StreamCreate, (CudaStreamObject * *stream, unsigned flags), (stream, flags))
SIM_COMPUTE(cuStreamDestroy_v2, StreamDestroy, (CudaStreamObject * stream), (stream))
SIM_COMPUTE(cuStreamQuery, StreamQuery, (CudaStreamObject * stream), (stream))
SIM_COMPUTE(cuEventCreate, EventCreate, (CudaEventObject * *event, unsigned flags), (event, flags))
SIM_COMPUTE(cuEventDestroy_v2, EventDestroy, (CudaEventObject * event), (event))
SIM_COMPUTE(cuEventRecord, EventRecord, (CudaEventObject * event, CudaStreamObject* stream), (event, stream))
SIM_COMPUTE(cuEventSynchronize, EventSynchronize, (CudaEventObject * event), (event))
SIM_COMPUTE(cuLaunchKernel, LaunchKernel,
            (CudaFunctionObject * function, unsigned gridX, unsigned gridY, unsigned gridZ, unsigned blockX, unsigned blockY,
             unsigned blockZ, unsigned sharedBytes, CudaStreamObject* stream, void** parameters, void** extra),
            (function, gridX, gridY, gridZ, blockX, blockY, blockZ, sharedBytes, stream, parameters, extra))

// What no plug-in of this project calls. The x64 calling convention lets a function ignore its arguments.
#define SIM_REFUSE(name)                                                            \
    SIM_EXPORT CUresult name() {                                                    \
        return initialized ? CUDA_ERROR_NOT_SUPPORTED : CUDA_ERROR_NOT_INITIALIZED; \
    }

SIM_REFUSE(cuCtxSetCurrent)
SIM_REFUSE(cuCtxSynchronize)
SIM_REFUSE(cuDevicePrimaryCtxRetain)
SIM_REFUSE(cuDevicePrimaryCtxRelease_v2)
SIM_REFUSE(cuModuleLoadData)
SIM_REFUSE(cuModuleGetGlobal_v2)
SIM_REFUSE(cuMemcpyDtoDAsync_v2)
SIM_REFUSE(cuMemcpyDtoHAsync_v2)
SIM_REFUSE(cuMemsetD32_v2)
SIM_REFUSE(cuStreamSynchronize)
