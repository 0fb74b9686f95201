#include "toolkit/ResizeDialog.h"

LRESULT CXTPResizeDialog::ControlColor(UINT message, HDC device, HWND control) {
    const LRESULT own = SendMessageW(control, message + kReflected, reinterpret_cast<WPARAM>(device), 0);
    if (own != 0) return own;
    // A field that cannot be typed in is a WM_CTLCOLORSTATIC too.
    const bool isField = message == WM_CTLCOLOREDIT || message == WM_CTLCOLORLISTBOX;
    const COLORREF background = m_paint.GetColor(isField ? COLOR_WINDOW : COLOR_BTNFACE);
    const bool enabled = control == nullptr || IsWindowEnabled(control);
    SetTextColor(device, m_paint.GetColor(!enabled ? COLOR_GRAYTEXT : isField ? COLOR_WINDOWTEXT : COLOR_BTNTEXT));
    SetBkColor(device, background);
    return reinterpret_cast<LRESULT>(m_paint.GetBrush(background));
}

LRESULT CXTPResizeDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CTLCOLORDLG:
            return reinterpret_cast<LRESULT>(m_paint.GetBrush(m_paint.GetColor(COLOR_BTNFACE)));
        case WM_CTLCOLORSTATIC:
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORLISTBOX:
        case WM_CTLCOLORBTN:
            return ControlColor(message, reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
        case WM_DRAWITEM:
            if (wParam != 0 && SendMessageW(Item(static_cast<int>(wParam)), message + kReflected, wParam, lParam) != 0)
                return TRUE;
            break;
        case WM_ERASEBKGND: {
            RECT client = {};
            GetClientRect(Handle(), &client);
            FillRect(reinterpret_cast<HDC>(wParam), &client, m_paint.GetBrush(m_paint.GetColor(COLOR_BTNFACE)));
            return TRUE;
        }
        case WM_SIZE:
            if (m_resize.IsStarted() && wParam != SIZE_MINIMIZED) m_resize.Apply();
            return 0;
        case WM_GETMINMAXINFO:
            CDialog::OnMessage(message, wParam, lParam);
            if (m_resize.IsStarted()) {
                const SIZE minimum = m_resize.MinimumSize();
                reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {minimum.cx, minimum.cy};
            }
            return 0;
        default:
            break;
    }
    return CDialog::OnMessage(message, wParam, lParam);
}
