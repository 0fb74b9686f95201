#include "dialogs/DialogPlace.h"

#include <vector>

#include "common/Messages.h"
#include "common/Version.h"
#include "gui/WindowPlacement.h"
#include "toolkit/TaskDialog.h"

namespace {

BOOL CALLBACK TakeWorkArea(HMONITOR monitor, HDC, LPRECT, LPARAM areas) {
    MONITORINFO information = {};
    information.cbSize = sizeof(information);
    if (GetMonitorInfoW(monitor, &information)) {
        const RECT& area = information.rcWork;
        reinterpret_cast<std::vector<SettingsRect>*>(areas)->push_back({area.left, area.top, area.right, area.bottom});
    }
    return TRUE;
}

}  // namespace

void RestoreDialogPlace(HWND dialog, const SettingsRect& place, KeptSize size) {
    if (place.IsEmpty()) return;
    std::vector<SettingsRect> areas;
    EnumDisplayMonitors(nullptr, nullptr, &TakeWorkArea, reinterpret_cast<LPARAM>(&areas));
    const SettingsRect visible = PlaceOnScreen(place, areas);
    const UINT flags = SWP_NOZORDER | SWP_NOACTIVATE | (size == KeptSize::Ignored ? SWP_NOSIZE : 0U);
    SetWindowPos(dialog, nullptr, visible.left, visible.top, visible.right - visible.left, visible.bottom - visible.top,
                 flags);
}

void KeepDialogPlace(HWND dialog, SettingsRect& place) {
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof(placement);
    if (!GetWindowPlacement(dialog, &placement)) return;
    const auto kept = [](const RECT& rect) { return SettingsRect{rect.left, rect.top, rect.right, rect.bottom}; };
    MONITORINFO screen = {};
    screen.cbSize = sizeof(screen);
    GetMonitorInfoW(MonitorFromWindow(dialog, MONITOR_DEFAULTTONEAREST), &screen);
    place = FromWorkspace(kept(placement.rcNormalPosition), kept(screen.rcMonitor), kept(screen.rcWork));
}

bool HasMessageOpen(HWND dialog) {
    return IsWindowEnabled(dialog) == FALSE;
}

bool AskWhether(HWND dialog, const std::wstring& question) {
    if (HasMessageOpen(dialog)) return false;
    CTaskDialog message(question, L"", kApplicationName, TaskDialogButtons::OkCancel);
    message.SetMainIcon(TaskDialogIcon::Warning);
    return message.DoModal(dialog) == IDOK;
}

bool PublishConfiguration(HWND dialog, IMainDialogHost& host, bool isBasedOnCurrent, MinerConfiguration configuration) {
    constexpr wchar_t kReplaced[] =
        L"The configuration was replaced meanwhile, by a remote controller. Save yours all the same, and lose the other?";
    if (HasMessageOpen(dialog)) return false;
    if (!isBasedOnCurrent && !AskWhether(dialog, kReplaced)) return false;
    if (const std::wstring reason = host.ReplaceConfiguration(std::move(configuration)); !reason.empty()) {
        CTaskDialog message(reason, L"", kApplicationName);
        message.SetMainIcon(TaskDialogIcon::Error);
        message.DoModal(dialog);
        return false;
    }
    const HWND owner = GetWindow(dialog, GW_OWNER);
    PostMessageW(owner, kMessageRefresh, 0, 0);
    PostMessageW(owner, kMessageWorker, 0, 0);
    return true;
}
