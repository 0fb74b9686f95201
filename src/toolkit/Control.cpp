#include "toolkit/Control.h"

#include "toolkit/Gdi.h"

COLORREF CXTPControl::BorderColor() const {
    const bool enabled = IsEnabled();
    return m_paint.GetColor(enabled && HasFocus() ? ThemeColor::FieldBorderFocus
                            : enabled && m_hot    ? ThemeColor::FieldBorderHot
                                                  : ThemeColor::FieldBorder);
}

void CXTPControl::TrackHover(UINT message) {
    if (message == WM_MOUSEMOVE && !m_hot) {
        TRACKMOUSEEVENT track = {sizeof(track), TME_LEAVE | TME_HOVER, Handle(), HOVER_DEFAULT};
        m_hot = TrackMouseEvent(&track) != FALSE;
        RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME);
    } else if (message == WM_MOUSELEAVE) {
        m_hot = false;
        RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME);
    }
}

LRESULT CXTPControl::WithoutDrawing(UINT message, WPARAM wParam, LPARAM lParam) {
    const HWND window = Handle();
    // Of a window that does not redraw, nothing is shown; the window's own WM_SETREDRAW may mean something else.
    const bool visible = (Style() & WS_VISIBLE) != 0;
    if (visible) DefWindowProcW(window, WM_SETREDRAW, FALSE, 0);
    const LRESULT result = CWnd::OnMessage(message, wParam, lParam);
    if (visible && Handle() == window) DefWindowProcW(window, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(window, nullptr, FALSE);
    return result;
}

LRESULT CXTPControl::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    TrackHover(message);
    switch (message) {
        case WM_PAINT: {
            const CBufferedPaint paint(Handle());
            OnDraw(paint.Device(), paint.Area());
            return 0;
        }
        case WM_PRINTCLIENT: {
            RECT area = {};
            GetClientRect(Handle(), &area);
            OnDraw(reinterpret_cast<HDC>(wParam), area);
            return 0;
        }
        case WM_ERASEBKGND:
            return TRUE;
        case WM_SETTEXT:
        case WM_ENABLE:
        case WM_SETFOCUS:
        case WM_KILLFOCUS:
        case WM_UPDATEUISTATE:
        case BM_SETSTATE:
        case BM_SETCHECK:
        case BM_SETSTYLE:
        case CB_SETCURSEL:
            return WithoutDrawing(message, wParam, lParam);
        // These tell the parent, which may do anything before they return.
        case WM_LBUTTONDOWN:
        case WM_LBUTTONUP:
        case WM_LBUTTONDBLCLK:
        case WM_KEYDOWN:
        case WM_KEYUP:
        case WM_CAPTURECHANGED: {
            const HWND window = Handle();
            const LRESULT result = CWnd::OnMessage(message, wParam, lParam);
            InvalidateRect(window, nullptr, FALSE);
            return result;
        }
        case WM_THEMECHANGED:
            RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME);
            return 0;
        default:
            return CWnd::OnMessage(message, wParam, lParam);
    }
}
