#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include "app/ApplicationFolders.h"
#include "config/ConfigurationStore.h"
#include "config/RuntimeSettings.h"
#include "mining/Mining.h"
#include "toolkit/Wnd.h"

// The main window: shows the state, the pools and each GPU's shares, and carries out the posted commands. GUI thread; other
// threads reach it by posting only.
class CMainWindow final : public CWnd {
  public:
    struct Parts {
        const ApplicationFolders& folders;
        RuntimeSettings& settings;
        CRuntimeSettingsFile& settingsFile;
        CConfigurationStore& configuration;
        CMining& mining;
        GpuSpan gpus;
        std::function<void(QvGpuRecord&)> updateTelemetry;
    };
    explicit CMainWindow(const Parts& parts) : m_parts(parts) {}

    // Creates and shows the window and starts mining when the settings say so.
    bool Create(HICON icon);

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    static constexpr UINT_PTR kTimerId = 1;
    static constexpr UINT kTimerPeriodMs = 1000;
    static constexpr std::uint32_t kTelemetryTicks = 5;
    static constexpr std::uint32_t kSaveTicks = 30;

    void OnTimer();
    void OnMiningCommand(bool start);
    void OnPaint();
    void OnDestroy();
    void Refresh();
    std::wstring StatusText() const;

    const Parts m_parts;
    std::wstring m_status;
    std::uint32_t m_tick = 0;
};
