#include "config/MinerConfiguration.h"

#include <algorithm>
#include <array>

#include "common/CodePage.h"
#include "common/Hex.h"
#include "config/AlgorithmList.h"

namespace {

constexpr std::size_t kGpuIdDigits = std::size_t{2} * QV_UUID_BYTES;

using PoolList = std::vector<PoolPointer>;

PoolList::const_iterator FindById(const PoolList& pools, std::uint32_t id) {
    return std::find_if(pools.begin(), pools.end(), [id](const PoolPointer& pool) { return pool->ID == id; });
}

PoolPointer BindAlgorithm(const PoolEntry& source, const CAlgorithmList& algorithms) {
    auto pool = std::make_shared<PoolEntry>(source);
    pool->algorithm = &algorithms.Find(pool->Algo).record;
    return pool;
}

}  // namespace

bool IsGpuId(std::string_view text) {
    return text.size() == kGpuIdDigits && text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

PoolPointer MakeUnassignedPool(const CAlgorithmList& algorithms) {
    PoolEntry pool;
    CopyToField(std::wstring_view(L"Unassigned - not used"), pool.Name);
    return BindAlgorithm(pool, algorithms);
}

CConfigurationBuilder::CConfigurationBuilder(const CAlgorithmList& algorithms, GpuSpan gpus, PoolPointer unassignedPool)
    : m_algorithms(algorithms), m_gpus(gpus), m_unassignedPool(std::move(unassignedPool)) {}

PoolPointer CConfigurationBuilder::AddPool(const PoolEntry& pool) {
    if (FindById(configuration.pools, pool.ID) != configuration.pools.end()) return nullptr;
    return configuration.pools.emplace_back(BindAlgorithm(pool, m_algorithms));
}

PoolPointer CConfigurationBuilder::FindPool(std::uint32_t id) const {
    const auto found = FindById(configuration.pools, id);
    return found == configuration.pools.end() ? m_unassignedPool : *found;
}

void CConfigurationBuilder::AddConfiguration(const ConfigurationEntry& entry) {
    auto& [workerName, pools, configurations, absent, settings] = configuration;
    if (entry.gpus.empty() && !entry.absentGpus.empty())
        absent.push_back({configurations.size() + absent.size(), entry});
    else
        configurations.push_back(entry);
}

QvGpuRecord* CConfigurationBuilder::FindGpu(std::string_view uuidDigits) const {
    if (!IsGpuId(uuidDigits)) return nullptr;
    std::array<std::uint8_t, QV_UUID_BYTES> uuid = {};
    HexDecode(uuidDigits, uuid);
    const auto found = std::find_if(m_gpus.begin(), m_gpus.end(), [&uuid](const QvGpuRecord* gpu) {
        return gpu->cudaId >= 0 && std::equal(uuid.begin(), uuid.end(), gpu->uuid);
    });
    return found == m_gpus.end() ? nullptr : *found;
}
