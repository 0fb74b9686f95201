#include "dialogs/RunningInstance.h"

#include "common/CodePage.h"
#include "common/Version.h"

namespace {

const std::wstring kTitleStart = std::wstring(kApplicationName) + L" (Version: ";

// The other one may be of another version.
bool IsMainDialog(HWND window) {
    wchar_t name[16] = {};
    wchar_t title[200] = {};
    GetClassNameW(window, name, static_cast<int>(std::size(name)));
    GetWindowTextW(window, title, static_cast<int>(std::size(title)));
    return std::wstring_view(name) == L"#32770" && std::wstring_view(title).starts_with(kTitleStart);
}

BOOL CALLBACK AskToShow(HWND window, LPARAM) {
    if (!IsMainDialog(window)) return TRUE;
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    AllowSetForegroundWindow(process);
    PostMessageW(window, ShowRequest(), 0, 0);
    return FALSE;
}

}  // namespace

std::wstring MainDialogTitle() {
    return kTitleStart + NarrowToWide(kVersionText) + L")";
}

void ShowRunningInstance() {
    EnumWindows(&AskToShow, 0);
}

UINT ShowRequest() {
    static const UINT message = RegisterWindowMessageW(L"Quorvel-Miner.Show");
    return message;
}
