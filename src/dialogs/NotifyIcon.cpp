#include "dialogs/NotifyIcon.h"

#include <shellapi.h>

#include "common/CodePage.h"

namespace {

constexpr UINT kIconId = 1;

using NotifyFunction = BOOL(WINAPI*)(DWORD, NOTIFYICONDATAW*);

NotifyFunction FindNotify() {
    const HMODULE shell = LoadLibraryW(L"shell32.dll");
    if (shell == nullptr) return nullptr;
    return reinterpret_cast<NotifyFunction>(reinterpret_cast<void*>(GetProcAddress(shell, "Shell_NotifyIconW")));
}

}  // namespace

void CNotifyIcon::Show(HWND owner, UINT message, HICON icon, const std::wstring& tip) {
    if (m_owner != nullptr) return SetTip(tip);
    m_owner = owner;
    m_message = message;
    m_icon = icon;
    m_tip = tip;
    // Without a taskbar the icon waits for one.
    Tell(NIM_ADD, NIF_MESSAGE | NIF_ICON | NIF_TIP);
}

void CNotifyIcon::SetTip(const std::wstring& tip) {
    if (m_owner == nullptr || m_tip == tip) return;
    m_tip = tip;
    Tell(NIM_MODIFY, NIF_TIP);
}

void CNotifyIcon::Remove() {
    if (m_owner == nullptr) return;
    Tell(NIM_DELETE, 0);
    m_owner = nullptr;
}

void CNotifyIcon::ShowAgain() {
    if (m_owner != nullptr) Tell(NIM_ADD, NIF_MESSAGE | NIF_ICON | NIF_TIP);
}

UINT CNotifyIcon::TaskbarCreated() {
    static const UINT message = RegisterWindowMessageW(L"TaskbarCreated");
    return message;
}

bool CNotifyIcon::Tell(DWORD command, UINT flags) {
    static const NotifyFunction notify = FindNotify();
    if (notify == nullptr) return false;
    NOTIFYICONDATAW data = {};
    data.cbSize = sizeof(data);
    data.hWnd = m_owner;
    data.uID = kIconId;
    data.uFlags = flags;
    data.uCallbackMessage = m_message;
    data.hIcon = m_icon;
    CopyToField(m_tip, data.szTip);
    return notify(command, &data) != FALSE;
}
