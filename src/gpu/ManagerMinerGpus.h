#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>
#include "gpu/CudaApi.h"
#include "gpu/NvmlApi.h"
#include "quorvel/plugin.h"
#include "support/LogSystem.h"

inline constexpr std::int32_t kNoCudaDevices = 41;

// Finds the GPUs at start-up and owns their records from then on. GUI thread.
class CManagerMinerGpus {
  public:
    struct Surroundings {
        ICudaRuntime& cuda;
        INvml& nvml;
        CBKLogSystem& log;
        // The pool of a GPU that no configuration has claimed: the first listed one of ID -1, else the unassigned pool.
        // Called once per GPU during Init; never null.
        std::function<const PoolEntry*()> initialPool;
        // Shows the text, which may hold one <a href="..."> link, and returns when the user has closed it.
        std::function<void(const std::wstring& text)> showError;
    };
    explicit CManagerMinerGpus(Surroundings surroundings) : m_surroundings(std::move(surroundings)) {}
    CManagerMinerGpus(const CManagerMinerGpus&) = delete;
    CManagerMinerGpus& operator=(const CManagerMinerGpus&) = delete;

    // To be called once. 0, or kNoCudaDevices when CUDA gives no count; the user has then been told why. Throws
    // std::runtime_error when the properties of a device cannot be read. NVML may be missing: the records then hold what
    // CUDA knows, and no telemetry.
    std::int32_t Init();

    // By cudaId, ascending; the array and the records stay where they are after Init.
    std::span<QvGpuRecord* const> Gpus() const { return m_gpus; }

  private:
    struct CudaDevice {
        std::int32_t index = -1;
        CudaDeviceProperties properties;
    };

    std::wstring CountErrorText(CudaError error) const;
    std::vector<CudaDevice> ReadCudaDevices(std::int32_t count);
    // NVML has an order of its own: only the number of its devices is CUDA's.
    void AddByNvml(std::int32_t nvmlIndex, std::span<const CudaDevice> devices);
    void AddByCuda(const CudaDevice& device);
    void AddGpu(std::unique_ptr<QvGpuRecord> gpu, const CudaDevice* twin);

    const Surroundings m_surroundings;
    std::vector<std::unique_ptr<QvGpuRecord>> m_records;
    std::vector<QvGpuRecord*> m_gpus;
};
