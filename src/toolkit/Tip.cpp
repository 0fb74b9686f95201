#include "toolkit/Tip.h"

#include <algorithm>

#include "toolkit/Dpi.h"
#include "toolkit/Gdi.h"

namespace {

constexpr wchar_t kClassName[] = L"QuorvelTip";
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

bool RegisterTipClass(WNDPROC procedure) {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
    windowClass.lpszClassName = kClassName;
    return RegisterClassExW(&windowClass) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

}  // namespace

CXTPTip::~CXTPTip() {
    Hide();
}

void CXTPTip::Show(HWND owner, const std::wstring& text, HFONT font, const RECT& cell) {
    if (m_handle != nullptr && text == m_text && EqualRect(&cell, &m_cell)) return;
    Hide();
    if (!RegisterTipClass(&CXTPTip::Procedure)) return;
    m_text = text;
    m_font = font;
    m_cell = cell;
    const SIZE size = Measure(owner);
    const RECT area = WorkArea(cell);
    const LONG gap = ScaleForDpi(2);
    const LONG left = std::max(area.left, std::min(cell.left, area.right - size.cx));
    const LONG below = cell.bottom + gap;
    const LONG top = below + size.cy <= area.bottom ? below : cell.top - gap - size.cy;
    m_handle =
        CreateWindowExW(WS_EX_TOPMOST | WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE, kClassName, m_text.c_str(), WS_POPUP,
                        static_cast<int>(left), static_cast<int>(top), static_cast<int>(size.cx), static_cast<int>(size.cy),
                        GetAncestor(owner, GA_ROOT), nullptr, GetModuleHandleW(nullptr), this);
    if (m_handle != nullptr) ShowWindow(m_handle, SW_SHOWNOACTIVATE);
}

void CXTPTip::Hide() {
    if (m_handle != nullptr) DestroyWindow(m_handle);
}

SIZE CXTPTip::Measure(HWND owner) const {
    const CWindowDC dc(owner);
    const CSelection selection(dc.Get(), m_font);
    RECT rect = {0, 0, ScaleForDpi(480), 0};
    DrawTextW(dc.Get(), m_text.data(), static_cast<int>(m_text.size()), &rect, kFormat | DT_CALCRECT);
    return {rect.right + 2 * Margin().cx, rect.bottom + 2 * Margin().cy};
}

void CXTPTip::Paint() const {
    const CPaintDC paint(m_handle);
    const HDC dc = paint.Get();
    RECT rect = {};
    GetClientRect(m_handle, &rect);
    FillRect(dc, &rect, m_paintManager.GetBrush(m_paintManager.GetColor(COLOR_INFOBK)));
    FrameRect(dc, &rect, m_paintManager.GetBrush(ThemeColor::FieldBorder));
    InflateRect(&rect, static_cast<int>(-Margin().cx), static_cast<int>(-Margin().cy));
    const CSelection selection(dc, m_font);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, m_paintManager.GetColor(COLOR_INFOTEXT));
    DrawTextW(dc, m_text.data(), static_cast<int>(m_text.size()), &rect, kFormat);
}

LRESULT CALLBACK CXTPTip::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* self = static_cast<CXTPTip*>(reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams);
        self->m_handle = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<CXTPTip*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self == nullptr) return DefWindowProcW(window, message, wParam, lParam);
    switch (message) {
        case WM_PAINT:
            self->Paint();
            return 0;
        case WM_ERASEBKGND:
            return 1;
        case WM_NCHITTEST:
            return HTTRANSPARENT;
        case WM_NCDESTROY:
            self->m_handle = nullptr;
            break;
        default:
            break;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}
