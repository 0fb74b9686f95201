#include "toolkit/CommandBarsFrameHook.h"

RECT FrameButton(const FrameLayout& layout, LRESULT button) {
    int place = 0;  // from the right
    if (button == HTMAXBUTTON) {
        if (!layout.canMaximize) return {};
        place = 1;
    } else if (button == HTMINBUTTON) {
        if (!layout.canMinimize) return {};
        place = layout.canMaximize ? 2 : 1;
    } else if (button != HTCLOSE) {
        return {};
    }
    const int edge = layout.border > 0 ? 1 : 0;
    const LONG right = layout.window.cx - layout.inset - edge - place * layout.button;
    return {right - layout.button, layout.inset + edge, right, layout.inset + layout.caption};
}

LRESULT HitTestFrame(const FrameLayout& layout, POINT point) {
    for (const LRESULT button : {HTCLOSE, HTMAXBUTTON, HTMINBUTTON}) {
        const RECT place = FrameButton(layout, button);
        // The uppermost pixels still size the window.
        if (PtInRect(&place, point) && point.y >= layout.border / 2) return button;
    }
    if (layout.border > 0) {
        const int corner = layout.border * 2;
        const bool left = point.x < layout.border;
        const bool right = point.x >= layout.window.cx - layout.border;
        const bool top = point.y < layout.border;
        const bool bottom = point.y >= layout.window.cy - layout.border;
        const bool nearLeft = point.x < corner;
        const bool nearRight = point.x >= layout.window.cx - corner;
        const bool nearTop = point.y < corner;
        const bool nearBottom = point.y >= layout.window.cy - corner;
        if ((top && nearLeft) || (left && nearTop)) return HTTOPLEFT;
        if ((top && nearRight) || (right && nearTop)) return HTTOPRIGHT;
        if ((bottom && nearLeft) || (left && nearBottom)) return HTBOTTOMLEFT;
        if ((bottom && nearRight) || (right && nearBottom)) return HTBOTTOMRIGHT;
        if (left) return HTLEFT;
        if (right) return HTRIGHT;
        if (top) return HTTOP;
        if (bottom) return HTBOTTOM;
    }
    if (point.y >= layout.inset + layout.caption) return HTCLIENT;
    return point.x < layout.inset + layout.caption ? HTSYSMENU : HTCAPTION;
}
