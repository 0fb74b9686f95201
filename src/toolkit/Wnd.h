#pragma once
#include <windows.h>
#include <string>

// A dialog asks its controls for their colours with the WM_CTLCOLOR message plus this; a brush is the answer, 0 leaves it to
// the dialog. Likewise for WM_DRAWITEM and WM_MEASUREITEM (TRUE when done).
inline constexpr UINT kReflected = WM_USER + 0x1C00;

// Of any window of this process.
std::wstring TextOfWindow(HWND window);

// What a window is made as; its class is registered with the first one. Without a parent a window of the desktop.
struct WindowSpec {
    const wchar_t* className = L"QuorvelWnd";
    UINT classStyle = 0;
    const wchar_t* text = L"";
    DWORD style = 0;
    DWORD extendedStyle = 0;
    RECT place = {};
    HWND parent = nullptr;
    int id = 0;  // of a child
};

// A window whose messages go to a virtual operation. All of it belongs to one thread. The window is destroyed with the
// object, unless it was there before (SubclassWindow): then it gets its own procedure back.
class CWnd {
  public:
    CWnd() = default;
    virtual ~CWnd();
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    bool CreateMessageOnly();
    // Takes over the messages of a window that somebody else made, until it is destroyed.
    bool SubclassWindow(HWND window);
    bool SubclassDlgItem(HWND dialog, int id) { return SubclassWindow(GetDlgItem(dialog, id)); }
    void DestroyWindow();
    HWND Handle() const { return m_handle; }

    std::wstring Text() const { return TextOfWindow(m_handle); }
    // Does not touch the window when it shows that text already.
    void SetText(const std::wstring& text);

  protected:
    // Overridden to handle messages; the base does what the system, or the window's own procedure, does by default.
    // WM_CREATE arrives with the handle set.
    virtual LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) { return Default(message, wParam, lParam); }
    // What the system, or the window's own procedure, does, past every base.
    LRESULT Default(UINT message, WPARAM wParam, LPARAM lParam) const;
    // The window has an arrow as its pointer and draws its own background.
    bool Create(const WindowSpec& spec);
    // Ends the window without a message to this object, as the destructor does: first in the destructor of a class whose
    // members the messages use.
    void LetGo();
    // Called when a window was taken over, before its next message.
    virtual void PreSubclassWindow() {}

  private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    static LRESULT CALLBACK SubclassProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void Release();

    HWND m_handle = nullptr;
    WNDPROC m_original = nullptr;  // of a window that was taken over
};

// The window hears the message also from processes with fewer rights than its own.
void AllowMessageFromAll(HWND window, UINT message);

// Cancels what is modal in the calling thread: dialogs, message boxes, menus, moving and sizing, all but the dialog besides.
// The calls that show them return once their messages are dispatched, so a program that is told to end does not wait for an
// answer.
void CancelModalWindows(HWND besides);
