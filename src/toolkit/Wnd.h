#pragma once
#include <windows.h>

// How a top-level window is made.
struct WindowSpec {
    const wchar_t* title = L"";
    DWORD style = WS_OVERLAPPEDWINDOW;
    DWORD extendedStyle = WS_EX_APPWINDOW;
    int width = CW_USEDEFAULT;
    int height = CW_USEDEFAULT;
    HICON icon = nullptr;
};

// A window whose messages go to a virtual operation. All of it belongs to one thread. The window is destroyed with the
// object.
class CWnd {
  public:
    CWnd() = default;
    virtual ~CWnd();
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    bool CreateMessageOnly();
    bool CreateTopLevel(const WindowSpec& spec);
    void DestroyWindow();
    HWND Handle() const { return m_handle; }

  protected:
    // Overridden to handle messages; the base does what the system does by default. WM_CREATE arrives with the handle set.
    virtual LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam);

  private:
    bool Create(const WindowSpec& spec, HWND parent);
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    HWND m_handle = nullptr;
};
