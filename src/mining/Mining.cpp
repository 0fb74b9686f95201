#include "mining/Mining.h"

#include "config/GpuCounters.h"

int CMining::Start(const MinerConfiguration& configuration) {
    if (m_running || configuration.configurations.empty()) return -1;
    for (const ConfigurationEntry& entry : configuration.configurations) {
        m_managers.push_back(std::make_unique<CMiningManager>(m_context, entry));
        m_managers.back()->Start();
    }
    m_running = true;
    return 0;
}

void CMining::Stop() {
    if (!m_running) return;
    m_running = false;
    for (const auto& manager : m_managers) {
        manager->Stop();
        LogSummary(*manager);
    }
    m_managers.clear();
}

void CMining::LogSummary(const CMiningManager& manager) const {
    for (const QvGpuRecord* gpu : manager.Core().Gpus()) {
        const GpuCounters counts = ReadGpuCounters(*gpu);
        m_context.mainLog.LogFormat(LOG_SEVERITY_NORMAL, L"Mining stopped. GPU#%d: A:%I64u - S:%I64u R:%I64u", gpu->cudaId,
                                    counts.accepted, counts.stale, counts.rejected);
    }
}
