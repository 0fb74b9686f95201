#include "toolkit/CommandBarsFrameHook.h"

#include <string>

#include "toolkit/Gdi.h"
#include "toolkit/MessageArguments.h"
#include "toolkit/Wnd.h"

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
    return layout.hasIcon && point.x < layout.inset + layout.caption ? HTSYSMENU : HTCAPTION;
}

namespace {

// Sent by systems with visual styles to draw parts of a caption; not documented, but stable.
constexpr UINT kDrawCaption = 0xAE;
constexpr UINT kDrawFrame = 0xAF;
constexpr int kCaptionAt96Dpi = 31;
constexpr int kButtonAt96Dpi = 45;
constexpr int kGlyphAt96Dpi = 10;

bool HasStyle(HWND window, DWORD style) {
    return (static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE)) & style) == style;
}

bool IsCaptionButton(LRESULT hit) {
    return hit == HTCLOSE || hit == HTMAXBUTTON || hit == HTMINBUTTON;
}

int SizingBorder() {
    return GetSystemMetrics(SM_CXSIZEFRAME) + GetSystemMetrics(SM_CXPADDEDBORDER);
}

void DrawGlyph(HDC device, const RECT& place, LRESULT button, bool maximized, COLORREF color) {
    const int size = ScaleForDpi(kGlyphAt96Dpi);
    const int width = ScaleForDpi(1);
    const int left = (place.left + place.right - size) / 2;
    const int top = (place.top + place.bottom - size) / 2;
    const PenHandle pen(CreatePen(PS_SOLID, width, color));
    const CSelection outline(device, pen.get());
    const CSelection inside(device, GetStockObject(NULL_BRUSH));
    if (button == HTMINBUTTON) {
        MoveToEx(device, left, top + size / 2, nullptr);
        LineTo(device, left + size, top + size / 2);
    } else if (button == HTCLOSE) {
        MoveToEx(device, left, top, nullptr);
        LineTo(device, left + size, top + size);
        MoveToEx(device, left, top + size - 1, nullptr);
        LineTo(device, left + size, top - 1);
    } else if (maximized) {
        const int step = size / 5;
        Rectangle(device, left, top + step, left + size - step, top + size);
        MoveToEx(device, left + step, top + step, nullptr);
        LineTo(device, left + step, top);
        LineTo(device, left + size - 1, top);
        LineTo(device, left + size - 1, top + size - step - 1);
        LineTo(device, left + size - step - 1, top + size - step - 1);
    } else {
        Rectangle(device, left, top, left + size, top + size);
    }
}

FontHandle CaptionFont() {
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = sizeof(metrics);
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, metrics.cbSize, &metrics, 0);
    return FontHandle(CreateFontIndirectW(&metrics.lfMessageFont));
}

// Where the desktop is composed, the system would draw its own frame over ours.
void LetSystemDrawFrame(HWND window, bool let) {
    using Function = HRESULT(WINAPI*)(HWND, DWORD, LPCVOID, DWORD);
    constexpr DWORD kRenderingPolicy = 2;  // DWMWA_NCRENDERING_POLICY
    const DWORD policy = let ? 0 : 1;      // DWMNCRP_USEWINDOWSTYLE, DWMNCRP_DISABLED
    const HMODULE library = LoadLibraryW(L"dwmapi.dll");
    if (library == nullptr) return;
    const auto set = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, "DwmSetWindowAttribute")));
    if (set != nullptr) set(window, kRenderingPolicy, &policy, sizeof(policy));
    FreeLibrary(library);
}

}  // namespace

void CXTPCommandBarsFrameHook::AttachFrame(HWND window, const CXTPPaintManager& paint) {
    if (m_window != nullptr) return;
    m_paint = &paint;
    m_active = GetActiveWindow() == window;
    ChangeFrame(window, window);
}

void CXTPCommandBarsFrameHook::DetachFrame() {
    if (m_window != nullptr) ChangeFrame(m_window, nullptr);
}

// The client area keeps its size.
void CXTPCommandBarsFrameHook::ChangeFrame(HWND window, HWND hooked) {
    constexpr UINT kFlags = SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE;
    RECT before = {};
    RECT after = {};
    RECT whole = {};
    GetClientRect(window, &before);
    m_window = hooked;
    LetSystemDrawFrame(window, hooked == nullptr);
    SetWindowPos(window, nullptr, 0, 0, 0, 0, SWP_FRAMECHANGED | SWP_NOSIZE | kFlags);
    if (IsZoomed(window) || IsIconic(window)) return;
    GetClientRect(window, &after);
    GetWindowRect(window, &whole);
    SetWindowPos(window, nullptr, 0, 0, whole.right - whole.left + before.right - after.right,
                 whole.bottom - whole.top + before.bottom - after.bottom, kFlags);
}

FrameLayout CXTPCommandBarsFrameHook::Layout() const {
    RECT window = {};
    GetWindowRect(m_window, &window);
    const bool maximized = IsZoomed(m_window) != FALSE;
    const bool sizable = HasStyle(m_window, WS_THICKFRAME);
    FrameLayout layout;
    layout.window = {window.right - window.left, window.bottom - window.top};
    layout.border = sizable && !maximized ? ScaleForDpi(6) : 0;
    layout.caption = ScaleForDpi(kCaptionAt96Dpi);
    layout.inset = maximized && sizable ? SizingBorder() : 0;
    layout.button = ScaleForDpi(kButtonAt96Dpi);
    layout.canMinimize = HasStyle(m_window, WS_MINIMIZEBOX);
    layout.canMaximize = HasStyle(m_window, WS_MAXIMIZEBOX);
    layout.hasIcon = Icon() != nullptr;
    return layout;
}

HICON CXTPCommandBarsFrameHook::Icon() const {
    const auto icon = reinterpret_cast<HICON>(SendMessageW(m_window, WM_GETICON, ICON_SMALL, 0));
    return icon != nullptr ? icon : reinterpret_cast<HICON>(GetClassLongPtrW(m_window, GCLP_HICONSM));
}

std::optional<LRESULT> CXTPCommandBarsFrameHook::OnFrameMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (m_window == nullptr) return std::nullopt;
    if (m_pressed != HTNOWHERE) {
        if (const auto result = OnPressedMessage(message, lParam)) return result;
    }
    switch (message) {
        case WM_NCCALCSIZE:
            return OnCalcSize(wParam, lParam);
        case WM_NCHITTEST:
            return HitTestAt(PointOf(lParam));
        case WM_NCPAINT:
            Draw();
            return 0;
        case WM_NCACTIVATE:
            m_active = wParam != FALSE;
            Draw();
            return TRUE;
        case WM_SETTEXT:
        case WM_SETICON: {
            const LRESULT result = WithoutDrawing(message, wParam, lParam);
            Draw();
            return result;
        }
        case WM_NCMOUSEMOVE:
            Hover(static_cast<LRESULT>(wParam));
            return std::nullopt;
        case WM_NCMOUSELEAVE:
        case WM_MOUSEMOVE:
            m_tracking = false;
            Hover(HTNOWHERE);
            return std::nullopt;
        case WM_NCLBUTTONDOWN:
        case WM_NCLBUTTONDBLCLK:
            if (!OnButtonDown(static_cast<LRESULT>(wParam))) return std::nullopt;
            return 0;
        case kDrawCaption:
        case kDrawFrame:
            return 0;
        case WM_THEMECHANGED:
            Draw();
            return std::nullopt;
        case WM_DESTROY:
            m_window = nullptr;
            m_pressed = m_hover = HTNOWHERE;
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

LRESULT CXTPCommandBarsFrameHook::WithoutDrawing(UINT message, WPARAM wParam, LPARAM lParam) const {
    // While the window counts as invisible the system does not draw its caption over ours.
    const LONG_PTR style = GetWindowLongPtrW(m_window, GWL_STYLE);
    SetWindowLongPtrW(m_window, GWL_STYLE, style & ~static_cast<LONG_PTR>(WS_VISIBLE));
    const LRESULT result = DefWindowProcW(m_window, message, wParam, lParam);
    SetWindowLongPtrW(m_window, GWL_STYLE, style);
    return result;
}

LRESULT CXTPCommandBarsFrameHook::OnCalcSize(WPARAM wParam, LPARAM lParam) const {
    RECT& client = wParam != 0 ? reinterpret_cast<NCCALCSIZE_PARAMS*>(lParam)->rgrc[0] : *reinterpret_cast<RECT*>(lParam);
    const FrameLayout layout = Layout();
    const int edge = layout.inset > 0 ? layout.inset : 1;
    client.left += edge;
    client.right -= edge;
    client.bottom -= edge;
    client.top += layout.inset + layout.caption;
    return 0;
}

LRESULT CXTPCommandBarsFrameHook::HitTestAt(POINT screen) const {
    RECT window = {};
    GetWindowRect(m_window, &window);
    return HitTestFrame(Layout(), {screen.x - window.left, screen.y - window.top});
}

void CXTPCommandBarsFrameHook::Hover(LRESULT hit) {
    const LRESULT button = IsCaptionButton(hit) ? hit : HTNOWHERE;
    if (button != HTNOWHERE && !m_tracking) {
        TRACKMOUSEEVENT track = {sizeof(track), TME_LEAVE | TME_NONCLIENT, m_window, 0};
        m_tracking = TrackMouseEvent(&track) != FALSE;
    }
    if (button == m_hover) return;
    m_hover = button;
    Draw();
}

// The system would draw its own button while it follows the mouse.
bool CXTPCommandBarsFrameHook::OnButtonDown(LRESULT hit) {
    if (!IsCaptionButton(hit)) return false;
    m_pressed = m_hover = hit;
    Draw();
    SetCapture(m_window);
    return true;
}

void CXTPCommandBarsFrameHook::OnPressedMove(LRESULT hit) {
    const LRESULT hover = hit == m_pressed ? hit : HTNOWHERE;
    if (hover == m_hover) return;
    m_hover = hover;
    Draw();
}

void CXTPCommandBarsFrameHook::OnButtonUp(LRESULT hit) {
    const bool inside = hit == m_pressed;
    ReleaseCapture();  // ends the press
    if (!inside || m_window == nullptr) return;
    const WPARAM command = hit == HTCLOSE       ? SC_CLOSE
                           : hit == HTMINBUTTON ? SC_MINIMIZE
                           : IsZoomed(m_window) ? SC_RESTORE
                                                : SC_MAXIMIZE;
    PostMessageW(m_window, WM_SYSCOMMAND, command, 0);
}

void CXTPCommandBarsFrameHook::EndPress() {
    m_pressed = m_hover = HTNOWHERE;
    Draw();
}

// Of a pressed button: the window has the mouse's messages, and loses them with the capture.
std::optional<LRESULT> CXTPCommandBarsFrameHook::OnPressedMessage(UINT message, LPARAM lParam) {
    POINT point = PointOf(lParam);
    switch (message) {
        case WM_MOUSEMOVE:
            ClientToScreen(m_window, &point);
            OnPressedMove(HitTestAt(point));
            return 0;
        case WM_LBUTTONUP:
            ClientToScreen(m_window, &point);
            OnButtonUp(HitTestAt(point));
            return 0;
        case WM_CAPTURECHANGED:
            EndPress();
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

void CXTPCommandBarsFrameHook::Draw() const {
    if (m_window == nullptr || !IsWindowVisible(m_window) || IsIconic(m_window)) return;
    const CWindowDC device(m_window, CWindowDC::Area::Whole);
    if (device.Get() == nullptr) return;
    const FrameLayout layout = Layout();
    const RECT whole = {0, 0, layout.window.cx, layout.window.cy};
    const RECT caption = {0, 0, layout.window.cx, layout.inset + layout.caption};

    const CMemoryBitmap memory(device.Get(), {caption.right, caption.bottom});
    DrawCaption(memory.Device(), caption, layout);
    memory.CopyTo(device.Get(), caption);
    if (layout.inset == 0)
        FrameRect(device.Get(), &whole, m_paint->GetBrush(m_active ? ThemeColor::FrameActive : ThemeColor::FrameInactive));
}

void CXTPCommandBarsFrameHook::DrawCaption(HDC device, const RECT& area, const FrameLayout& layout) const {
    FillRect(device, &area, m_paint->GetBrush(ThemeColor::CaptionFace));
    const int iconSize = GetSystemMetrics(SM_CXSMICON);
    const int middle = layout.inset + layout.caption / 2;
    int textLeft = layout.inset + ScaleForDpi(10);
    if (const HICON icon = Icon(); icon != nullptr) {
        DrawIconEx(device, textLeft, middle - iconSize / 2, icon, iconSize, iconSize, 0, nullptr, DI_NORMAL);
        textLeft += iconSize + ScaleForDpi(7);
    }
    LONG textRight = area.right;
    for (const LRESULT button : {HTMINBUTTON, HTMAXBUTTON, HTCLOSE}) {
        const RECT place = FrameButton(layout, button);
        if (IsRectEmpty(&place)) continue;
        textRight = std::min(textRight, place.left);
        DrawButton(device, layout, button);
    }
    const FontHandle font = CaptionFont();
    const CSelection selection(device, font.get());
    SetBkMode(device, TRANSPARENT);
    SetTextColor(device, m_paint->GetColor(m_active ? ThemeColor::CaptionText : ThemeColor::CaptionTextInactive));
    RECT text = {textLeft, layout.inset, textRight, layout.inset + layout.caption};
    const std::wstring title = TextOfWindow(m_window);
    DrawTextW(device, title.c_str(), -1, &text, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX);
}

void CXTPCommandBarsFrameHook::DrawButton(HDC device, const FrameLayout& layout, LRESULT button) const {
    const RECT place = FrameButton(layout, button);
    const bool hot = m_hover == button;
    COLORREF glyph = m_paint->GetColor(m_active ? ThemeColor::CaptionText : ThemeColor::CaptionTextInactive);
    if (hot) {
        const ThemeColor face = button == HTCLOSE     ? ThemeColor::CaptionCloseHot
                                : m_pressed == button ? ThemeColor::CaptionButtonPressed
                                                      : ThemeColor::CaptionButtonHot;
        FillRect(device, &place, m_paint->GetBrush(face));
        if (button == HTCLOSE) glyph = m_paint->GetColor(ThemeColor::CaptionCloseText);
    }
    DrawGlyph(device, place, button, IsZoomed(m_window) != FALSE, glyph);
}
