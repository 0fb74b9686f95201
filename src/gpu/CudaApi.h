#pragma once
#include <array>
#include <cstdint>

// Numbers of the runtime's cudaError (CUDA Runtime API reference, "Data types"); any other number may occur, too.
enum class CudaError : std::int32_t { Success = 0, InsufficientDriver = 35, NoDevice = 100 };

// The part of cudaDeviceProp that the miner uses.
struct CudaDeviceProperties {
    char name[256] = {};
    std::array<std::uint8_t, 16> uuid = {};
    std::uint64_t totalGlobalMem = 0;  // bytes; 0: unknown
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t multiProcessorCount = 0;
    std::int32_t warpSize = 0;
    std::int32_t maxThreadsPerMultiProcessor = 0;
    std::int32_t pciDomainID = 0;
    std::int32_t pciBusID = 0;
    std::int32_t pciDeviceID = 0;
};

// What discovery asks of CUDA. GUI thread.
class ICudaRuntime {
  public:
    virtual ~ICudaRuntime() = default;

    // Must have succeeded before the properties are asked for. The count is written on success only.
    virtual CudaError GetDeviceCount(std::int32_t& count) = 0;
    // index: 0 to the count - 1. The properties are complete on success only.
    virtual CudaError GetDeviceProperties(std::int32_t index, CudaDeviceProperties& properties) = 0;
    // Static ASCII text; never null.
    virtual const char* GetErrorString(CudaError error) const = 0;
};
