#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include "gui/GpuGrid.h"
#include "gui/PoolGroup.h"
#include "gui/dialogs/ExControls.h"
#include "gui/dialogs/ExDialog.h"
#include "gui/dialogs/MainDialogHost.h"
#include "gui/dialogs/NotifyIcon.h"
#include "gui/dialogs/ReportGPUs.h"
#include "gui/dialogs/ThemeManager.h"

// The main dialog. GUI thread; other threads reach it by the posted messages of common/Messages.h only. It drives all
// periodic work of the GUI side by its one-second timer.
class CQuorvelMinerDlg final : public CExDialog {
  public:
    struct Looks {
        CThemeManager& themes;
        HICON icon = nullptr;
        HFONT largeFont = nullptr;
        HFONT smallFont = nullptr;
        std::function<void(HWND)> windowChanged;  // the dialog's window; null when it goes
    };
    CQuorvelMinerDlg(IMainDialogHost& host, const Looks& looks);

  protected:
    bool OnInitDialog() override;
    void OnOK() override {}  // Enter in a field does not close the program
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    // In the order of start-up.
    void SetUpLabels();
    void SetUpSystemMenu();
    void FillChoices();
    void FillInterfaces();
    void CreateGrid();
    void SetUpResize();
    void RestorePlace();

    void OnTimer();
    void OnCommand(int id, int code);
    bool OnSysCommand(UINT id);
    void OnDestroy();
    void OnMining(bool start);
    void OnMiningStarted();
    void OnMiningStopped();
    void OnControlState(std::uint32_t state);
    void OnListenButton();
    void OnNotifyIcon(UINT mouseMessage);
    void OnSelectionChanged();
    bool PaintIcon();

    void StartListening();
    void StopListening();
    void EnableListenFields(bool enable);
    void ChooseTheme(int theme);
    void CopyDiagnostics();
    void ShowNotifyMenu();
    void Restore();
    void EditPools();
    void EditWorker();

    void ShowState(CExStatic& label, const LabelLook& look);
    void RefreshAll();
    void RefreshPoolGroup();
    void RefreshGpuStatic();
    void RefreshGpuLive();
    GpuGridSource GridSource() const;

    IMainDialogHost& m_host;
    const Looks m_looks;
    std::map<int, std::unique_ptr<CExStatic>> m_labels;
    std::map<int, std::unique_ptr<CExSeparator>> m_separators;
    std::map<int, std::unique_ptr<CExEdit>> m_edits;
    CExComboBox m_interfaces, m_controlChoice, m_miningChoice;
    CExButton m_listenButton, m_miningButton;
    CReportGPUs m_grid;
    CNotifyIcon m_notifyIcon;

    ConfigurationPointer m_shown;  // what the grid draws from
    QvGpuRecord* m_selectedGpu = nullptr;
    std::uint32_t m_controlState = 0;
    COLORREF m_defaultStateColor = 0;
    ddt_datetime m_miningStart;
    std::uint32_t m_tick = 0;
};
