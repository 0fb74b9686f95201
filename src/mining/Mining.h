#pragma once
#include <atomic>
#include <memory>
#include <vector>
#include "mining/MiningContext.h"
#include "mining/MiningManager.h"

// Starts and stops mining: one manager per configuration. GUI thread, but for IsRunning.
class CMining {
  public:
    explicit CMining(const MiningContext& context) : m_context(context) {}
    ~CMining() { Stop(); }
    CMining(const CMining&) = delete;
    CMining& operator=(const CMining&) = delete;

    // 0; -1 when mining runs already or there is no configuration.
    int Start(const MinerConfiguration& configuration);
    // Does nothing unless mining runs. Writes each GPU's shares of the run into the main log.
    void Stop();

    bool IsRunning() const { return m_running; }
    const std::vector<std::unique_ptr<CMiningManager>>& Managers() const { return m_managers; }

  private:
    void LogSummary(const CMiningManager& manager) const;

    const MiningContext& m_context;
    std::vector<std::unique_ptr<CMiningManager>> m_managers;
    std::atomic<bool> m_running = false;
};
