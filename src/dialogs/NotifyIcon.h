#pragma once
#include <windows.h>
#include <string>

// The program's icon in the notification area. GUI thread. It loads the shell's library when it is first shown, which costs
// memory that a program without it does not need.
class CNotifyIcon {
  public:
    CNotifyIcon() = default;
    ~CNotifyIcon() { Remove(); }
    CNotifyIcon(const CNotifyIcon&) = delete;
    CNotifyIcon& operator=(const CNotifyIcon&) = delete;

    // The owner gets the message with the mouse message (WM_LBUTTONUP, WM_RBUTTONUP, WM_LBUTTONDBLCLK ...) as lParam.
    void Show(HWND owner, UINT message, HICON icon, const std::wstring& tip);
    // Cut at 127 characters; nothing happens when it is what it was or there is no icon.
    void SetTip(const std::wstring& tip);
    void Remove();
    // To be called for the message TaskbarCreated(): the taskbar is new and knows no icons.
    void ShowAgain();

    static UINT TaskbarCreated();

  private:
    bool Tell(DWORD command, UINT flags);

    HWND m_owner = nullptr;  // null: not shown
    UINT m_message = 0;
    HICON m_icon = nullptr;
    std::wstring m_tip;
};
