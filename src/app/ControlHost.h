#pragma once
#include <atomic>
#include <functional>
#include <string>
#include "app/UserFiles.h"
#include "control/ControlHost.h"
#include "gui/MiningView.h"
#include "mining/Mining.h"
#include "support/LineBudget.h"

// What the control channel's commands do in the program. Their effects on the dialog are posted to its window.
class CControlHost final : public IControlHost {
  public:
    struct Parts {
        CConfigurationStore& configuration;
        CUserFiles& files;
        const CMining& mining;
        GpuSpan gpus;
        const std::wstring& hostName;
        const std::atomic<HWND>& mainWindow;
        std::function<void(const std::wstring&)> log;
        const CTroubleBoard& troubles;
        IEventSink& events;
        std::function<void()> configurationReplaced;
    };
    explicit CControlHost(const Parts& parts) : m_parts(parts) {}

    void ControlStateChanged(ControlState state) override;
    void SetWorkerName(std::wstring_view name) override;
    CConfigurationBuilder MakeBuilder() override { return m_parts.configuration.MakeBuilder(); }
    void PublishConfiguration(MinerConfiguration configuration) override;
    void RequestMining(bool start) override;
    bool IsMining() const override { return m_parts.mining.IsRunning(); }
    GpuSpan Gpus() const override { return m_parts.gpus; }
    std::vector<PoolError> Troubles() const override { return m_parts.troubles.Lasting(); }
    std::wstring HostName() const override { return m_parts.hostName; }
    void LogLine(const std::wstring& text) override { m_parts.log(text); }

  private:
    void Post(unsigned message, WPARAM wParam, LPARAM lParam = 0) const;

    const Parts m_parts;
    CLineBudget m_replacedLines{1, kTicksPerMinute};  // of the event log; the channel's thread
};
