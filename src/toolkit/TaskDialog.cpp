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

struct SystemIcons {
    const wchar_t* taskDialog;
    UINT messageBox;
};

SystemIcons IconsOf(TaskDialogIcon icon) {
    switch (icon) {
        case TaskDialogIcon::Error:
            return {TD_ERROR_ICON, MB_ICONERROR};
        case TaskDialogIcon::Warning:
            return {TD_WARNING_ICON, MB_ICONWARNING};
        case TaskDialogIcon::Information:
            return {TD_INFORMATION_ICON, MB_ICONINFORMATION};
        case TaskDialogIcon::None:
            break;
    }
    return {nullptr, 0};
}

}  // namespace

void OpenAddress(HWND owner, const wchar_t* address) {
    using Function = HINSTANCE(WINAPI*)(HWND, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR, INT);
    const auto execute = FindFunction<Function>(L"shell32.dll", "ShellExecuteW");
    if (execute != nullptr) execute(owner, L"open", address, nullptr, nullptr, SW_SHOWNORMAL);
}

int CTaskDialog::DoModal(HWND owner) const {
    TASKDIALOGCONFIG config = {};
    config.cbSize = sizeof(config);
    config.hwndParent = owner;
    config.dwFlags = TDF_ALLOW_DIALOG_CANCELLATION;
    if (owner != nullptr) config.dwFlags |= TDF_POSITION_RELATIVE_TO_WINDOW;
    if (m_options.enableHyperlinks) config.dwFlags |= TDF_ENABLE_HYPERLINKS;
    if (m_options.useCommandLinks && m_buttons != TaskDialogButtons::SaveDiscardContinue)
        config.dwFlags |= TDF_USE_COMMAND_LINKS;
    config.dwCommonButtons = TDCBF_OK_BUTTON;
    if (m_buttons == TaskDialogButtons::OkCancel) config.dwCommonButtons |= TDCBF_CANCEL_BUTTON;
    constexpr TASKDIALOG_BUTTON kEditorButtons[] = {{IDYES, L"&Save"}, {IDNO, L"&Discard"}, {IDCANCEL, L"&Go on editing"}};
    if (m_buttons == TaskDialogButtons::SaveDiscardContinue) {
        config.dwCommonButtons = 0;
        config.cButtons = static_cast<UINT>(std::size(kEditorButtons));
        config.pButtons = kEditorButtons;
    }
    config.pszWindowTitle = m_title.c_str();
    config.pszMainIcon = IconsOf(m_icon).taskDialog;
    config.pszMainInstruction = m_mainInstruction.empty() ? nullptr : m_mainInstruction.c_str();
    config.pszContent = m_content.c_str();
    config.pfCallback = &OnTaskDialog;

    // Only the themed common controls have it, and only where the manifest was honoured.
    using TaskDialogIndirectFunction = HRESULT(WINAPI*)(const TASKDIALOGCONFIG*, int*, int*, BOOL*);
    const auto show = FindFunction<TaskDialogIndirectFunction>(L"comctl32.dll", "TaskDialogIndirect");
    int button = 0;
    if (show != nullptr && SUCCEEDED(show(&config, &button, nullptr, nullptr))) return button;
    return ShowMessageBox(owner);
}

int CTaskDialog::ShowMessageBox(HWND owner) const {
    const std::wstring text = m_mainInstruction.empty() ? m_content : m_mainInstruction + L"\n\n" + m_content;
    const UINT buttons = m_buttons == TaskDialogButtons::OkCancel              ? MB_OKCANCEL
                         : m_buttons == TaskDialogButtons::SaveDiscardContinue ? MB_YESNOCANCEL
                                                                               : MB_OK;
    return MessageBoxW(owner, text.c_str(), m_title.c_str(), buttons | IconsOf(m_icon).messageBox);
}

void ShowTaskDialog(const std::wstring& title, const std::wstring& content, TaskDialogIcon icon) {
    CTaskDialog dialog(content, L"", title);
    dialog.SetMainIcon(icon);
    dialog.DoModal();
}
