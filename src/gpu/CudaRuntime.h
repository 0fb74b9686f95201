#pragma once
#include <cstddef>
#include <string>
#include "gpu/CudaApi.h"
#include "gpu/DriverLibrary.h"

// The three runtime functions that the miner needs, over the driver's nvcuda.dll: no CUDA redistributable has to be shipped,
// and the layout of one CUDA version's cudaDeviceProp never matters.
//
// Codes are the runtime's. No nvcuda.dll, one that lacks a function, or a driver older than CUDA 10.0 gives
// InsufficientDriver; a driver that reports no device gives success and a count of 0.
class CCudaRuntime final : public ICudaRuntime {
  public:
    // executableFolder: searched only when it holds a SimGpus.ini.
    explicit CCudaRuntime(const std::wstring& executableFolder);

    CudaError GetDeviceCount(std::int32_t& count) override;
    CudaError GetDeviceProperties(std::int32_t index, CudaDeviceProperties& properties) override;
    const char* GetErrorString(CudaError error) const override;
    // Of CUDA that the driver supports: 1000 * major + 10 * minor; 0: there is no driver.
    std::int32_t DriverVersion() const;

  private:
    // Since CUDA 10.1 the driver's CUresult and the runtime's cudaError number alike whatever these calls return.
    using Result = CudaError;

    bool IsComplete() const;
    CudaError InitializeDriver();
    CudaError ReadAttributes(std::int32_t device, CudaDeviceProperties& properties);

    CDriverLibrary m_library;
    Result (*m_cuInit)(unsigned flags) = nullptr;
    Result (*m_cuDriverGetVersion)(std::int32_t* version) = nullptr;
    Result (*m_cuDeviceGetCount)(std::int32_t* count) = nullptr;
    Result (*m_cuDeviceGet)(std::int32_t* device, std::int32_t ordinal) = nullptr;
    Result (*m_cuDeviceGetName)(char* name, std::int32_t length, std::int32_t device) = nullptr;
    Result (*m_cuDeviceGetUuid)(std::uint8_t* uuid, std::int32_t device) = nullptr;
    Result (*m_cuDeviceGetAttribute)(std::int32_t* value, std::int32_t attribute, std::int32_t device) = nullptr;
    Result (*m_cuDeviceTotalMem)(std::size_t* bytes, std::int32_t device) = nullptr;  // may be missing
};
