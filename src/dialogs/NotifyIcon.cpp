#include "dialogs/NotifyIcon.h"

#include "common/CodePage.h"
#include "toolkit/Wnd.h"

namespace {

constexpr UINT kIconId = 1;

using NotifyFunction = BOOL(WINAPI*)(DWORD, NOTIFYICONDATAW*);

NotifyFunction FindNotify() {
    const HMODULE shell = LoadLibraryW(L"shell32.dll");
    if (shell == nullptr) return nullptr;
    return reinterpret_cast<NotifyFunction>(reinterpret_cast<void*>(GetProcAddress(shell, "Shell_NotifyIconW")));
}

bool Tell(DWORD command, NOTIFYICONDATAW data) {
    static const NotifyFunction notify = FindNotify();
    return notify != nullptr && notify(command, &data) != FALSE;
}

}  // namespace

void CNotifyIcon::Show(HWND owner, UINT message, HICON icon, const std::wstring& tip) {
    if (m_owner != nullptr) return Change(icon, tip);
    m_owner = owner;
    m_message = message;
    m_icon = icon;
    m_tip = tip;
    // A process that shows the icon may have the rights of an administrator, the taskbar has not.
    AllowMessageFromAll(owner, TaskbarCreated());
    Keep();
}

void CNotifyIcon::Change(HICON icon, const std::wstring& tip) {
    if (m_owner == nullptr || (m_tip == tip && m_icon == icon)) return;
    m_icon = icon;
    m_tip = tip;
    if (m_shown) m_shown = Tell(NIM_MODIFY, NIF_ICON | NIF_TIP);
}

void CNotifyIcon::Remove() {
    if (m_owner == nullptr) return;
    if (m_shown) Tell(NIM_DELETE, 0);
    m_owner = nullptr;
    m_shown = false;
}

// An icon that was added too slowly for the answer is there all the same: then only a change of it succeeds.
void CNotifyIcon::Keep() {
    if (m_owner == nullptr) return;
    constexpr UINT kAll = NIF_MESSAGE | NIF_ICON | NIF_TIP;
    m_shown = Tell(NIM_MODIFY, kAll) || Tell(NIM_ADD, kAll);
}

UINT CNotifyIcon::TaskbarCreated() {
    static const UINT message = RegisterWindowMessageW(L"TaskbarCreated");
    return message;
}

void CNotifyIcon::ShowBalloon(const std::wstring& title, const std::wstring& text) {
    if (!m_shown) return;
    NOTIFYICONDATAW data = Data(NIF_INFO);
    data.dwInfoFlags = NIIF_WARNING;
    CopyToField(title, data.szInfoTitle);
    CopyToField(text, data.szInfo);
    ::Tell(NIM_MODIFY, data);
}

NOTIFYICONDATAW CNotifyIcon::Data(UINT flags) const {
    NOTIFYICONDATAW data = {};
    data.cbSize = sizeof(data);
    data.hWnd = m_owner;
    data.uID = kIconId;
    data.uFlags = flags;
    data.uCallbackMessage = m_message;
    data.hIcon = m_icon;
    CopyToField(m_tip, data.szTip);
    return data;
}

bool CNotifyIcon::Tell(DWORD command, UINT flags) const {
    return ::Tell(command, Data(flags));
}
