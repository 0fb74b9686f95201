#include "toolkit/TaskDialog.h"

#include <commctrl.h>

namespace {

// Of a library of the system, which then stays loaded; null when there is none.
template <typename Function>
Function FindFunction(const wchar_t* library, const char* name) {
    const HMODULE module = LoadLibraryW(library);
    return module == nullptr ? nullptr : reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

HRESULT CALLBACK OnTaskDialog(HWND window, UINT message, WPARAM, LPARAM lParam, LONG_PTR) {
    if (message == TDN_HYPERLINK_CLICKED) OpenAddress(window, reinterpret_cast<const wchar_t*>(lParam));
    return S_OK;
}

}  // namespace

void OpenAddress(HWND owner, const wchar_t* address) {
    using Function = HINSTANCE(WINAPI*)(HWND, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR, INT);
    const auto execute = FindFunction<Function>(L"shell32.dll", "ShellExecuteW");
    if (execute != nullptr) execute(owner, L"open", address, nullptr, nullptr, SW_SHOWNORMAL);
}

void ShowTaskDialog(const std::wstring& title, const std::wstring& content, TaskDialogIcon icon) {
    TASKDIALOGCONFIG config = {};
    config.cbSize = sizeof(config);
    config.hwndParent = GetActiveWindow();
    config.dwFlags = TDF_ENABLE_HYPERLINKS | TDF_USE_COMMAND_LINKS | TDF_ALLOW_DIALOG_CANCELLATION;
    config.dwCommonButtons = TDCBF_OK_BUTTON;
    config.pszWindowTitle = title.c_str();
    config.pszMainIcon = icon == TaskDialogIcon::Error ? TD_ERROR_ICON : TD_INFORMATION_ICON;
    config.pszContent = content.c_str();
    config.pfCallback = &OnTaskDialog;

    // Only the themed common controls have it, and only where the manifest was honoured.
    using TaskDialogIndirectFunction = HRESULT(WINAPI*)(const TASKDIALOGCONFIG*, int*, int*, BOOL*);
    const auto show = FindFunction<TaskDialogIndirectFunction>(L"comctl32.dll", "TaskDialogIndirect");
    if (show != nullptr && SUCCEEDED(show(&config, nullptr, nullptr, nullptr))) return;
    const UINT flags = icon == TaskDialogIcon::Error ? MB_ICONERROR : MB_ICONINFORMATION;
    MessageBoxW(config.hwndParent, content.c_str(), title.c_str(), MB_OK | flags);
}
