#include "config/PublishedConfiguration.h"

#include <algorithm>
#include <utility>

CPublishedConfiguration::CPublishedConfiguration(GpuSpan gpus, PoolPointer unassignedPool)
    : m_gpus(gpus), m_unassignedPool(std::move(unassignedPool)) {
    Publish({});
}

ConfigurationPointer CPublishedConfiguration::Current() const {
    const std::lock_guard lock(m_lock);
    return m_current;
}

void CPublishedConfiguration::Publish(MinerConfiguration configuration) {
    const std::vector<GpuSetting> gpuSettings = std::exchange(configuration.gpuSettings, {});
    ConfigurationPointer next = std::make_shared<const MinerConfiguration>(std::move(configuration));
    std::for_each(gpuSettings.begin(), gpuSettings.end(), ApplyGpuSetting);
    UpdateGpus(*next);
    const std::lock_guard lock(m_lock);
    m_current.swap(next);
}

void CPublishedConfiguration::UpdateGpus(const MinerConfiguration& configuration) const {
    const auto holds = [](const ConfigurationEntry& entry, const QvGpuRecord* gpu) {
        return std::find(entry.gpus.begin(), entry.gpus.end(), gpu) != entry.gpus.end();
    };
    for (QvGpuRecord* gpu : m_gpus) {
        const auto& entries = configuration.configurations;
        const auto first =
            std::find_if(entries.begin(), entries.end(), [&](const ConfigurationEntry& entry) { return holds(entry, gpu); });
        AssignPool(*gpu, first == entries.end() ? *m_unassignedPool : *first->primaryPool);
    }
}
