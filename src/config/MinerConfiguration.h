#pragma once
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>
#include "config/GpuSettings.h"
#include "config/PoolEntry.h"
#include "quorvel/plugin.h"

class CAlgorithmList;

using PoolPointer = std::shared_ptr<const PoolEntry>;
using GpuSpan = std::span<QvGpuRecord* const>;

// A GPU that a configuration names and this machine does not have now. Nothing mines with it and nobody is shown it but who
// edits the configuration; it stays in the file and counts again when the card is back.
struct AbsentGpu {
    std::array<std::uint8_t, QV_UUID_BYTES> uuid = {};
    std::int32_t NGM = 0;
    std::uint64_t NGTO = 0;
    std::size_t place = 0;  // in the configuration's list, among the GPUs that are present
};

// Pools and GPUs that mine together. The pool pointers are never null; gpus is never empty once stored. The GPU records
// belong to the GPU list and live until exit.
struct ConfigurationEntry {
    PoolPointer primaryPool;
    PoolPointer secondaryPool;
    std::uint64_t GpuAttributs = 0;
    std::uint64_t PoolAttributs = 0;
    std::vector<QvGpuRecord*> gpus;
    std::vector<AbsentGpu> absentGpus = {};  // by place
};

// A configuration none of whose GPUs is present: kept as an absent GPU is.
struct AbsentConfiguration {
    std::size_t place = 0;     // in the file's list, among the others
    ConfigurationEntry entry;  // gpus empty, absentGpus not
};

inline constexpr std::size_t kWorkerNameChars = 18;  // with the terminator

// One complete configuration: a value that is built aside and then published whole.
struct MinerConfiguration {
    wchar_t DefaultWorkerName[kWorkerNameChars] = {};
    std::vector<PoolPointer> pools;
    std::vector<ConfigurationEntry> configurations;
    std::vector<AbsentConfiguration> absentConfigurations;  // by place
    std::vector<GpuSetting> gpuSettings;                    // given to the GPU records when this is published, then empty
};

using ConfigurationPointer = std::shared_ptr<const MinerConfiguration>;

// The process's unassigned pool: ID -1, "Unassigned - not used". Its algorithm is the first registered one whose id is 0,
// else the fallback.
PoolPointer MakeUnassignedPool(const CAlgorithmList& algorithms);

// Whether the text has the form in which a GPU is named: 32 hexadecimal digits.
bool IsGpuId(std::string_view text);

// Builds a configuration. Resolves references; one thread.
class CConfigurationBuilder {
  public:
    CConfigurationBuilder(const CAlgorithmList& algorithms, GpuSpan gpus, PoolPointer unassignedPool);

    // Binds the algorithm and appends a copy; null when the ID is taken.
    PoolPointer AddPool(const PoolEntry& pool);
    // The first pool with that ID, else the unassigned pool.
    PoolPointer FindPool(std::uint32_t id) const;
    // Appends a copy; one of absent GPUs alone goes to the absent configurations.
    void AddConfiguration(const ConfigurationEntry& entry);
    const PoolPointer& UnassignedPool() const { return m_unassignedPool; }
    // The GPU with that UUID, or null. One that CUDA does not offer has none.
    QvGpuRecord* FindGpu(std::string_view uuidDigits) const;

    MinerConfiguration configuration;

  private:
    const CAlgorithmList& m_algorithms;
    GpuSpan m_gpus;
    PoolPointer m_unassignedPool;
};
