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

// CUDA cores per multiprocessor of a compute capability. One that is not in the table gets 64, and a line on standard
// output.
std::int32_t MapSMtoCores(std::int32_t major, std::int32_t minor);

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
    // std::runtime_error when the properties of a device cannot be read. Every CUDA device gets a record; one that NVML does
    // not know has no nvmlDevice, holds what CUDA knows, and no telemetry. A card that NVML alone knows has the cudaId -1
    // and an all-zero uuid, and is never mined on.
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
    // NVML has an order of its own, and counts cards that are hidden from CUDA. One that it cannot describe is passed over.
    void AddByNvmlIndex(std::int32_t nvmlIndex, std::span<const CudaDevice> devices);
    // For a CUDA device that NVML's first indices did not give.
    void AddByAddress(const CudaDevice& device);
    void AddByNvml(NvmlDevice device, const QvPciInfo& pci, const CudaDevice* twin);
    void AddGpu(std::unique_ptr<QvGpuRecord> gpu, const CudaDevice* twin);

    const Surroundings m_surroundings;
    std::vector<std::unique_ptr<QvGpuRecord>> m_records;
    std::vector<QvGpuRecord*> m_gpus;
};
