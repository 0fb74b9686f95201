#pragma once
#include <windows.h>
// After windows.h:
#include <shellapi.h>
#include <string>

// The program's icon in the notification area. GUI thread. It loads the shell's library when it is first shown, which costs
// memory that a program without it does not need.
class CNotifyIcon {
  public:
    CNotifyIcon() = default;
    ~CNotifyIcon() { Remove(); }
    CNotifyIcon(const CNotifyIcon&) = delete;
    CNotifyIcon& operator=(const CNotifyIcon&) = delete;

    // The owner gets the message with the mouse message (WM_LBUTTONUP, WM_RBUTTONUP, WM_LBUTTONDBLCLK ...) as lParam. A
    // taskbar that is not there yet, as at log-on, or too busy does not take it: Keep tries again.
    void Show(HWND owner, UINT message, HICON icon, const std::wstring& tip);
    // The tip is cut at 127 characters. Nothing happens when they are what they were or there is no icon.
    void Change(HICON icon, const std::wstring& tip);
    // Beside the icon, for as long as the system shows it; without an icon nothing.
    void ShowBalloon(const std::wstring& title, const std::wstring& text);
    void Remove();
    // To be called every few seconds and for the message TaskbarCreated(), when the taskbar is new and knows no icons:
    // finds out whether the icon is there and else shows it again.
    void Keep();
    // The taskbar had it when it was last told of it.
    bool IsShown() const { return m_shown; }

    static UINT TaskbarCreated();

  private:
    NOTIFYICONDATAW Data(UINT flags) const;
    bool Tell(DWORD command, UINT flags) const;

    HWND m_owner = nullptr;  // null: none is wanted
    UINT m_message = 0;
    HICON m_icon = nullptr;
    std::wstring m_tip;
    bool m_shown = false;
};
