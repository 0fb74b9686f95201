#include "toolkit/TaskDialog.h"

#include <commctrl.h>
#include <shellapi.h>

namespace {

HRESULT CALLBACK OnTaskDialog(HWND window, UINT message, WPARAM, LPARAM lParam, LONG_PTR) {
    if (message == TDN_HYPERLINK_CLICKED) {
        ShellExecuteW(window, L"open", reinterpret_cast<const wchar_t*>(lParam), nullptr, nullptr, SW_SHOWNORMAL);
    }
    return S_OK;
}

}  // namespace

void ShowTaskDialog(const std::wstring& title, const std::wstring& content, TaskDialogIcon icon) {
    TASKDIALOGCONFIG config = {};
    config.cbSize = sizeof(config);
    config.hwndParent = GetActiveWindow();
    config.dwFlags = TDF_ENABLE_HYPERLINKS | TDF_USE_COMMAND_LINKS;
    config.dwCommonButtons = TDCBF_OK_BUTTON;
    config.pszWindowTitle = title.c_str();
    config.pszMainIcon = icon == TaskDialogIcon::Error ? TD_ERROR_ICON : TD_INFORMATION_ICON;
    config.pszContent = content.c_str();
    config.pfCallback = &OnTaskDialog;

    // Only the themed common controls have it, and only where the manifest was honoured.
    using TaskDialogIndirectFunction = HRESULT(WINAPI*)(const TASKDIALOGCONFIG*, int*, int*, BOOL*);
    const HMODULE library = GetModuleHandleW(L"comctl32.dll");
    const auto show = library == nullptr ? nullptr
                                         : reinterpret_cast<TaskDialogIndirectFunction>(
                                               reinterpret_cast<void*>(GetProcAddress(library, "TaskDialogIndirect")));
    if (show != nullptr && SUCCEEDED(show(&config, nullptr, nullptr, nullptr))) return;
    const UINT flags = icon == TaskDialogIcon::Error ? MB_ICONERROR : MB_ICONINFORMATION;
    MessageBoxW(config.hwndParent, content.c_str(), title.c_str(), MB_OK | flags);
}
