#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>
#include "dialogs/ExControls.h"
#include "dialogs/ExDialog.h"
#include "dialogs/MainDialogHost.h"
#include "dialogs/NotifyIcon.h"
#include "dialogs/ReportGPUs.h"
#include "gui/LocalInterfaces.h"
#include "gui/NotifyText.h"
#include "gui/PoolGroup.h"
#include "toolkit/TaskDialog.h"

// Numbers of the system menu's own entries: below 0xF000, multiples of 16.
inline constexpr UINT kMenuAbout = 0x10;
inline constexpr UINT kMenuPools = 0x20;
inline constexpr UINT kMenuWorker = 0x30;
inline constexpr UINT kMenuDiagnostics = 0x40;
inline constexpr UINT kMenuHideMinimized = 0x50;
inline constexpr UINT kMenuThemeDefault = 0x60;
inline constexpr UINT kMenuThemeLight = 0x70;
inline constexpr UINT kMenuThemeDark = 0x80;
inline constexpr UINT kMenuThemeOffice = 0x90;
inline constexpr UINT kMenuEventLog = 0xA0;

// The main dialog. GUI thread; other threads reach it only by the posted messages of common/Messages.h. Its one-second timer
// drives all periodic work of the GUI side.
class CQuorvelMinerDlg final : public CExDialog {
  public:
    struct Looks {
        CThemeManager& themes;
        HICON icon = nullptr;
        HFONT largeFont = nullptr;
        HFONT smallFont = nullptr;
        HFONT gridFont = nullptr;
        std::function<void(HWND)> windowChanged;  // the dialog's window; null when it goes
    };
    CQuorvelMinerDlg(IMainDialogHost& host, const Looks& looks);

  protected:
    bool OnInitDialog() override;
    void OnOK() override {}  // Enter in a field does not close the program
    void OnCancel() override {}
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    static constexpr UINT_PTR kTimerId = 1;
    static constexpr UINT kTimerPeriodMs = 1000;
    static constexpr std::uint32_t kTelemetryTicks = 5;
    static constexpr std::uint32_t kSaveTicks = 30;
    static constexpr std::uint32_t kInterfaceTicks = 5;
    static constexpr std::uint32_t kNotifyIconTicks = 5;
    static constexpr UINT kNotifyIconMessage = WM_USER + 0x1100;
    static constexpr UINT kLoadMessage = WM_USER + 0x1101;      // posted: what the files lack is to be shown
    static constexpr UINT kShowIconMessage = WM_USER + 0x1102;  // posted once: the window is there, its icon may follow

    // QuorvelMinerDlgSetUp.cpp: what OnInitDialog does, in order.
    void TakeControls();
    void SetFonts();
    void SetUpSystemMenu();
    void FillChoices();
    void FillInterfaces();
    void CreateGrid();
    void SetUpResize();
    void FitOnScreen();
    void TakeSettings();
    void StartAsChosen();

    // QuorvelMinerDlg.cpp: messages and states.
    void OnConfigurationReplaced();
    bool OnSize(WPARAM kind);
    LRESULT OnQueryDragIcon() const;
    void OnClose();
    bool OnEndSession(bool ending);
    void OnTimer();
    void TakeLateFiles(const LateFiles& late);
    void OfferLoadMessage();
    void OnLoadMessage();
    void EndWork();
    // Once it is answered the next is shown; one that is open or waits already is not shown twice.
    void Tell(const std::wstring& text, TaskDialogIcon icon);
    void OnMiningButton();
    void OnControlChoice();
    void OnMiningChoice();
    void RequestMining(bool start, MiningAsker asker);
    void OnMining(WPARAM wanted, LPARAM asker);
    bool StartMining(MiningAsker asker);
    void TellNothingToMine(MiningAsker asker);
    void StopMining();
    void OnControlState(WPARAM state);
    void OnListenButton();
    std::wstring StartListening();
    void StopListening();
    void ShowPortReason(const std::wstring& reason);
    void HidePortReason() { m_portTip.Hide(); }
    void EnableListenFields(bool enable);
    void OnInterfacesOpened();
    void RefreshInterfaces();
    void OnSelectionChanged();
    bool PaintIcon();

    // QuorvelMinerDlgMenu.cpp: system menu and notification area.
    bool OnSysCommand(UINT command);
    bool RunCommand(UINT command);
    void ChooseTheme(int theme);
    void CheckTheme();
    void CheckHideMinimized();
    void CopyDiagnostics();
    void ToggleHideMinimized();
    void ShowNotifyIcon();
    void UpdateNotifyIcon();
    void KeepNotifyIcon();
    void HideOrShowMinimized();
    void OnNotifyIcon(WPARAM, LPARAM mouseMessage);
    void ShowNotifyMenu();
    bool OnContextMenu(WPARAM, LPARAM place);
    void OnPoolsButton() { OnSysCommand(kMenuPools); }
    void OnWorkerButton() { OnSysCommand(kMenuWorker); }
    void CloseByUser();
    // What waits for an answer, or else the dialog itself.
    void SetMessageInFront() const;
    void Restore();
    void EditPools();
    void EditWorker();

    // QuorvelMinerDlgShow.cpp: what stands in the groups and the grid.
    void ShowState(int id, const LabelLook& look);
    void RefreshAll();
    void RefreshHealth();
    void RefreshControlNote();
    void RefreshPoolGroup();
    void RefreshGpuStatic();
    void RefreshGpuLive();
    void RefreshWorker();
    void SelectGpu(int row);
    GpuGridSource GridSource() const;

    CExStatic& Label(int id) { return *m_labels.at(id); }

    IMainDialogHost& m_host;
    const Looks m_looks;
    std::map<int, std::unique_ptr<CExStatic>> m_labels;
    std::map<int, std::unique_ptr<CExSeparator>> m_separators;
    std::map<int, std::unique_ptr<CExEdit>> m_edits;
    CExComboBox m_interfaces, m_controlChoice, m_miningChoice;
    CExNote m_controlNote;
    CExButton m_listenButton, m_miningButton, m_poolsButton, m_workerButton;
    CXTPTip m_portTip;
    CReportGPUs m_grid;
    CNotifyIcon m_notifyIcon;
    CNotices m_notices;

    ConfigurationPointer m_shown;  // what the cells are formatted from; taken anew with every refresh
    PoolPointer m_unassigned;
    ddt_datetime m_now;
    std::vector<LocalInterface> m_listedInterfaces;
    std::wstring m_listenRefusal;  // why the last attempt to listen was refused
    std::vector<GpuTrouble> m_troubledGpus;
    MiningHealth m_health = MiningHealth::Good;
    QvGpuRecord* m_selectedGpu = nullptr;
    std::uint32_t m_controlState = 0;
    std::uint32_t m_tick = 0;
    std::vector<std::pair<std::wstring, TaskDialogIcon>> m_messages;  // the first is open, the others wait
    std::wstring m_shownLoadMessage;
    bool m_startIsDue = false;  // with the program, but nothing was configured
    bool m_commandRuns = false;
    bool m_hasNotifyIcon = false;  // from ShowNotifyIcon on
    bool m_closing = false;
    bool m_closingAsked = false;
};
