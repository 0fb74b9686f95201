#include "toolkit/Tip.h"

#include <algorithm>

#include "toolkit/Gdi.h"
#include "toolkit/MessageMap.h"

namespace {

constexpr UINT kFormat = DT_NOPREFIX | DT_WORDBREAK;

RECT WorkArea(const RECT& place) {
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    GetMonitorInfoW(MonitorFromRect(&place, MONITOR_DEFAULTTONEAREST), &info);
    return info.rcWork;
}

SIZE Margin() {
    return {ScaleForDpi(6), ScaleForDpi(3)};
}

}  // namespace

void CXTPTip::Show(HWND owner, const std::wstring& text, HFONT font, const RECT& cell) {
    if (IsShown() && text == m_text && EqualRect(&cell, &m_cell)) return;
    Hide();
    m_text = text;
    m_font = font;
    m_cell = cell;
    const SIZE size = Measure(owner);
    const RECT area = WorkArea(cell);
    const LONG gap = ScaleForDpi(2);
    const LONG left = std::max(area.left, std::min(cell.left, area.right - size.cx));
    const LONG below = cell.bottom + gap;
    const LONG top = below + size.cy <= area.bottom ? below : cell.top - gap - size.cy;
    WindowSpec spec;
    spec.className = L"QuorvelTip";
    spec.text = m_text.c_str();
    spec.style = WS_POPUP;
    spec.extendedStyle = WS_EX_TOPMOST | WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE;
    spec.place = {left, top, left + size.cx, top + size.cy};
    spec.parent = GetAncestor(owner, GA_ROOT);
    if (Create(spec)) ShowWindow(Handle(), SW_SHOWNOACTIVATE);
}

SIZE CXTPTip::Measure(HWND owner) const {
    const CWindowDC dc(owner);
    const CSelection selection(dc.Get(), m_font);
    RECT rect = {0, 0, ScaleForDpi(480), 0};
    DrawTextW(dc.Get(), m_text.data(), static_cast<int>(m_text.size()), &rect, kFormat | DT_CALCRECT);
    return {rect.right + 2 * Margin().cx, rect.bottom + 2 * Margin().cy};
}

void CXTPTip::Paint() const {
    const CPaintDC paint(Handle());
    const HDC dc = paint.Get();
    RECT rect = {};
    GetClientRect(Handle(), &rect);
    FillRect(dc, &rect, m_paintManager.GetBrush(m_paintManager.GetColor(COLOR_INFOBK)));
    FrameRect(dc, &rect, m_paintManager.GetBrush(ThemeColor::FieldBorder));
    InflateRect(&rect, static_cast<int>(-Margin().cx), static_cast<int>(-Margin().cy));
    const CSelection selection(dc, m_font);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, m_paintManager.GetColor(COLOR_INFOTEXT));
    DrawTextW(dc, m_text.data(), static_cast<int>(m_text.size()), &rect, kFormat);
}

LRESULT CXTPTip::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    static constexpr std::array kMap = {
        MapMessage<WM_PAINT, &CXTPTip::Paint>(),
        MapMessage<WM_ERASEBKGND, &CXTPTip::OnEraseBackground>(),
        MapMessage<WM_NCHITTEST, &CXTPTip::OnHitTest>(),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    return CWnd::OnMessage(message, wParam, lParam);
}
