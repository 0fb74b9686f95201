// The main dialog's system menu and its icon in the notification area.
#include "common/Clock.h"
#include "common/Messages.h"
#include "common/Version.h"
#include "dialogs/AboutDlg.h"
#include "dialogs/ConfigMiningPoolsDlg.h"
#include "dialogs/ConfigWorkerDlg.h"
#include "dialogs/DialogPlace.h"
#include "dialogs/QuorvelMinerDlg.h"
#include "gui/DialogState.h"
#include "gui/NotifyText.h"
#include "toolkit/Clipboard.h"
#include "toolkit/MessageArguments.h"

namespace {

struct ThemeEntry {
    UINT command;
    int theme;
};

constexpr ThemeEntry kThemeEntries[] = {{kMenuThemeDefault, 0},
                                        {kMenuThemeLight, kThemeLight},
                                        {kMenuThemeDark, kThemeDark},
                                        {kMenuThemeOffice, kThemeOfficeWhite}};

constexpr wchar_t kNotCopied[] =
    L"The diagnostics could not be copied, most likely because another program holds the clipboard. Please try again.";

constexpr UINT kNotifyOpen = 1;
constexpr UINT kNotifyMining = 2;
constexpr UINT kNotifyExit = 3;

// Without the "State: " of the labels.
std::wstring BareState(const LabelLook& look) {
    constexpr std::wstring_view kPrefix = L"State: ";
    const std::wstring_view text = look.text;
    return std::wstring(text.starts_with(kPrefix) ? text.substr(kPrefix.size()) : text);
}

}  // namespace

bool CQuorvelMinerDlg::OnSysCommand(UINT command) {
    for (const ThemeEntry& entry : kThemeEntries) {
        if (entry.command != command) continue;
        m_host.Settings().Theme = entry.theme;
        m_host.SaveSettings();
        ChooseTheme(entry.theme);
        return true;
    }
    if (command == SC_CLOSE) {
        CloseByUser();
        return true;
    }
    // A command that is posted again while its window is open opens no second one.
    if (m_commandRuns) return command >= kMenuAbout && command <= kMenuEventLog;
    m_commandRuns = true;
    const bool isKnown = RunCommand(command);
    m_commandRuns = false;
    return isKnown;
}

bool CQuorvelMinerDlg::RunCommand(UINT command) {
    switch (command) {
        case kMenuAbout:
            CAboutDlg(Themes(), m_looks.icon, m_looks.largeFont).DoModal(Handle());
            return true;
        case kMenuPools:
            EditPools();
            return true;
        case kMenuWorker:
            EditWorker();
            return true;
        case kMenuEventLog:
            m_host.ShowEventLog();
            return true;
        case kMenuDiagnostics:
            CopyDiagnostics();
            return true;
        case kMenuHideMinimized:
            ToggleHideMinimized();
            return true;
        default:
            return false;
    }
}

// theme: as in the settings, 0 is the program's choice.
void CQuorvelMinerDlg::ChooseTheme(int theme) {
    Themes().SelectTheme(theme == 0 ? kDefaultTheme : theme);
    CheckTheme();
    BroadcastThemeChange(Handle());
}

void CQuorvelMinerDlg::CheckTheme() {
    const HMENU menu = GetSystemMenu(Handle(), FALSE);
    for (const ThemeEntry& entry : kThemeEntries) {
        const bool isChosen = entry.theme == m_host.Settings().Theme;
        CheckMenuItem(menu, entry.command, isChosen ? MF_CHECKED : MF_UNCHECKED);
    }
}

void CQuorvelMinerDlg::CopyDiagnostics() {
    if (!CopyTextToClipboard(Handle(), m_host.Diagnostics())) Tell(kNotCopied, TaskDialogIcon::Error);
}

void CQuorvelMinerDlg::ToggleHideMinimized() {
    std::int32_t& setting = m_host.Settings().HideMinimized;
    setting = setting == 0 ? 1 : 0;
    m_host.SaveSettings();
    CheckHideMinimized();
    HideOrShowMinimized();
}

void CQuorvelMinerDlg::CheckHideMinimized() {
    const bool isChosen = m_host.Settings().HideMinimized != 0;
    CheckMenuItem(GetSystemMenu(Handle(), FALSE), kMenuHideMinimized, isChosen ? MF_CHECKED : MF_UNCHECKED);
}

void CQuorvelMinerDlg::ShowNotifyIcon() {
    m_hasNotifyIcon = true;
    UpdateNotifyIcon();
    HideOrShowMinimized();
}

void CQuorvelMinerDlg::KeepNotifyIcon() {
    m_notifyIcon.Keep();
    HideOrShowMinimized();
}

// A window without a button in the taskbar and without an icon could never be brought back.
void CQuorvelMinerDlg::HideOrShowMinimized() {
    if (!IsIconic(Handle())) return;
    const bool hide = m_host.Settings().HideMinimized != 0 && m_notifyIcon.IsShown();
    if (hide == (IsWindowVisible(Handle()) != FALSE)) ShowWindow(Handle(), hide ? SW_HIDE : SW_SHOWMINNOACTIVE);
}

void CQuorvelMinerDlg::UpdateNotifyIcon() {
    if (!m_hasNotifyIcon) return;
    std::wstring tip = std::wstring(kApplicationName) + L"\nMiner: " + BareState(MiningStateLook(m_host.IsRunning())) +
                       (m_health == MiningHealth::Good ? L"" : L", with trouble") + L"\nControl: " +
                       BareState(ControlStateLook(m_controlState, 0));
    if (m_host.IsRunning()) {
        tip = MiningSummary(*m_shown, m_host.Algorithms()) + (m_health == MiningHealth::Good ? L"" : L"\nwith trouble");
    }
    m_notifyIcon.Show(Handle(), kNotifyIconMessage, m_looks.icon, tip);
    if (!m_notifyIcon.IsShown()) return;  // a notice waits for it
    if (const auto notice = m_notices.Look(m_troubledGpus, SystemClock().Monotonic()))
        m_notifyIcon.ShowBalloon(kApplicationName, *notice);
}

void CQuorvelMinerDlg::OnNotifyIcon(WPARAM, LPARAM mouseMessage) {
    if (mouseMessage == WM_LBUTTONDBLCLK) Restore();
    if (mouseMessage == WM_RBUTTONUP) ShowNotifyMenu();
}

void CQuorvelMinerDlg::ShowNotifyMenu() {
    const HMENU menu = CreatePopupMenu();
    AppendMenuW(menu, MF_STRING, kNotifyOpen, L"&Open");
    AppendMenuW(menu, MF_STRING, kNotifyMining, MiningButtonText(m_host.IsRunning()));
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, MF_STRING, kNotifyExit, L"E&xit");
    SetMenuDefaultItem(menu, kNotifyOpen, FALSE);
    POINT point = {};
    GetCursorPos(&point);
    // Without being in front the window would not hear that the menu was left.
    SetForegroundWindow(Handle());
    const auto command =
        TrackPopupMenu(menu, TPM_RETURNCMD | TPM_NONOTIFY | TPM_RIGHTBUTTON, point.x, point.y, 0, Handle(), nullptr);
    PostMessageW(Handle(), WM_NULL, 0, 0);
    DestroyMenu(menu);
    if (command == kNotifyOpen) Restore();
    if (command == kNotifyMining) OnMiningButton();
    if (command == kNotifyExit) CloseByUser();
}

// Of the menu key or the right mouse button; a field has a menu of its own.
bool CQuorvelMinerDlg::OnContextMenu(WPARAM, LPARAM place) {
    POINT point = PointOf(place);
    if (place == -1) {  // the key
        RECT button = {};
        GetWindowRect(m_poolsButton.Handle(), &button);
        point = {button.left, button.bottom};
    }
    const HMENU menu = CreatePopupMenu();
    AppendMenuW(menu, MF_STRING, kMenuPools, L"Mining &pools...");
    AppendMenuW(menu, MF_STRING, kMenuWorker, L"&Worker...");
    const auto command =
        TrackPopupMenu(menu, TPM_RETURNCMD | TPM_NONOTIFY | TPM_RIGHTBUTTON, point.x, point.y, 0, Handle(), nullptr);
    DestroyMenu(menu);
    if (command != 0) OnSysCommand(static_cast<UINT>(command));
    return true;
}

// A program that sends WM_CLOSE, a controller and the end of the session do not come here: nobody may be there to answer.
void CQuorvelMinerDlg::CloseByUser() {
    if (m_closingAsked) return SetMessageInFront();
    const bool editorIsOpen = m_commandRuns && HasMessageOpen(Handle());
    std::wstring question;
    if (m_host.IsRunning() && m_host.Settings().AskBeforeClosing != 0)
        question = L"Mining runs and stops with the program. ";
    if (editorIsOpen) question += L"A window is open; what is not saved in it is lost. ";
    m_closingAsked = true;
    const bool close = question.empty() || AskWhether(GetLastActivePopup(Handle()), question + L"Close all the same?");
    m_closingAsked = false;
    if (close && !m_closing) OnClose();
}

void CQuorvelMinerDlg::SetMessageInFront() const {
    SetForegroundWindow(GetLastActivePopup(Handle()));
}

void CQuorvelMinerDlg::Restore() {
    ShowWindow(Handle(), IsIconic(Handle()) || !IsWindowVisible(Handle()) ? SW_RESTORE : SW_SHOW);
    SetMessageInFront();
}

void CQuorvelMinerDlg::EditPools() {
    CConfigMiningPoolsDlg(m_host, Themes()).DoModal(Handle());
}

void CQuorvelMinerDlg::EditWorker() {
    CConfigWorkerDlg(m_host, Themes()).DoModal(Handle());
}
