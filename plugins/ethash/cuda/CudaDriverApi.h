#pragma once
#include <cstddef>
#include <cstdint>

// The part of the CUDA driver interface that hashing needs. Names, numbers and shapes: CUDA Driver API reference. On 64-bit
// Windows and Linux the calling convention is the platform's only one.

using CudaResult = std::int32_t;  // CUresult
using CudaDevice = std::int32_t;
using CudaAddress = std::uint64_t;  // CUdeviceptr
struct CudaContextObject;
struct CudaModuleObject;
struct CudaFunctionObject;
struct CudaStreamObject;
struct CudaEventObject;

inline constexpr CudaResult kCudaSuccess = 0;
inline constexpr CudaResult kCudaOutOfMemory = 2;
inline constexpr CudaResult kCudaNotReady = 600;

enum class CudaAttribute : std::int32_t {
    ClockKilohertz = 13,
    MultiProcessors = 16,
    PciBus = 33,
    PciDevice = 34,
    MemoryClockKilohertz = 36,
    PciDomain = 50,
    CapabilityMajor = 75,
    CapabilityMinor = 76,
};
enum class CudaLimit : std::int32_t { MaxL2FetchGranularity = 5 };
enum class CudaJitOption : std::int32_t { ErrorLogBuffer = 5, ErrorLogBufferBytes = 6 };

inline constexpr unsigned kCudaContextBlockingSync = 0x04;
inline constexpr unsigned kCudaContextMapHost = 0x08;
inline constexpr unsigned kCudaStreamNonBlocking = 0x01;
inline constexpr unsigned kCudaEventBlockingSync = 0x01;
inline constexpr unsigned kCudaEventDisableTiming = 0x02;
inline constexpr unsigned kCudaHostMapped = 0x02;

// The driver's functions, each under its name without "cu" and version. Any thread; a context is current per thread.
struct CudaDriverApi {
    CudaResult (*Init)(unsigned flags);
    CudaResult (*DriverGetVersion)(std::int32_t* version);
    CudaResult (*GetErrorString)(CudaResult error, const char** text);
    CudaResult (*DeviceGetCount)(std::int32_t* count);
    CudaResult (*DeviceGet)(CudaDevice* device, std::int32_t ordinal);
    CudaResult (*DeviceGetName)(char* name, std::int32_t size, CudaDevice device);
    CudaResult (*DeviceGetAttribute)(std::int32_t* value, CudaAttribute attribute, CudaDevice device);

    CudaResult (*CtxCreate)(CudaContextObject** context, unsigned flags, CudaDevice device);
    CudaResult (*CtxDestroy)(CudaContextObject* context);
    CudaResult (*CtxSetLimit)(CudaLimit limit, std::size_t value);  // may be null: newer than the oldest driver

    CudaResult (*ModuleLoadDataEx)(CudaModuleObject** module, const void* image, unsigned optionCount,
                                   CudaJitOption* options, void** values);
    CudaResult (*ModuleUnload)(CudaModuleObject* module);
    CudaResult (*ModuleGetFunction)(CudaFunctionObject** function, CudaModuleObject* module, const char* name);

    CudaResult (*MemGetInfo)(std::size_t* freeBytes, std::size_t* totalBytes);
    CudaResult (*MemAlloc)(CudaAddress* address, std::size_t bytes);
    CudaResult (*MemFree)(CudaAddress address);
    CudaResult (*MemHostAlloc)(void** memory, std::size_t bytes, unsigned flags);
    CudaResult (*MemHostGetDevicePointer)(CudaAddress* address, void* memory, unsigned flags);
    CudaResult (*MemFreeHost)(void* memory);
    CudaResult (*MemcpyHtoD)(CudaAddress to, const void* from, std::size_t bytes);
    CudaResult (*MemcpyHtoDAsync)(CudaAddress to, const void* from, std::size_t bytes, CudaStreamObject* stream);
    CudaResult (*MemcpyDtoH)(void* to, CudaAddress from, std::size_t bytes);
    CudaResult (*MemcpyDtoDAsync)(CudaAddress to, CudaAddress from, std::size_t bytes, CudaStreamObject* stream);
    CudaResult (*MemsetD8)(CudaAddress address, std::uint8_t value, std::size_t bytes);

    CudaResult (*MemsetD8Async)(CudaAddress address, std::uint8_t value, std::size_t bytes, CudaStreamObject* stream);

    CudaResult (*StreamCreate)(CudaStreamObject** stream, unsigned flags);
    CudaResult (*StreamDestroy)(CudaStreamObject* stream);
    CudaResult (*StreamQuery)(
        CudaStreamObject* stream);  // kCudaNotReady while something is queued; hands on what was queued
    CudaResult (*EventCreate)(CudaEventObject** event, unsigned flags);
    CudaResult (*EventDestroy)(CudaEventObject* event);
    CudaResult (*EventRecord)(CudaEventObject* event, CudaStreamObject* stream);
    CudaResult (*EventSynchronize)(CudaEventObject* event);
    CudaResult (*LaunchKernel)(CudaFunctionObject* function, unsigned gridX, unsigned gridY, unsigned gridZ, unsigned blockX,
                               unsigned blockY, unsigned blockZ, unsigned sharedBytes, CudaStreamObject* stream,
                               void** parameters, void** extra);
};
