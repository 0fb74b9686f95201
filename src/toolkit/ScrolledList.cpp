#include "toolkit/ScrolledList.h"

#include <algorithm>

#include "toolkit/Gdi.h"
#include "toolkit/MessageMap.h"

namespace {

constexpr int kBarAt96Dpi = 10;
constexpr int kThumbAt96Dpi = 20;
constexpr UINT_PTR kPageTimer = 0x7001;
constexpr UINT kFirstPageDelay = 300;  // milliseconds that the track is pressed before paging repeats
constexpr UINT kNextPageDelay = 60;

}  // namespace

LRESULT CXTPScrolledList::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    static constexpr std::array kMap = {
        MapMessage<WM_NCCALCSIZE, &CXTPScrolledList::OnCalcSize>(),
        MapMessage<WM_NCPAINT, &CXTPScrolledList::OnPaintFrame>(),
        MapMessage<WM_NCHITTEST, &CXTPScrolledList::OnHitTest>(),
        MapMessage<WM_NCLBUTTONDOWN, &CXTPScrolledList::OnFrameButtonDown>(),
        MapMessage<WM_NCLBUTTONDBLCLK, &CXTPScrolledList::OnFrameButtonDown>(),
        MapMessage<WM_LBUTTONDOWN, &CXTPScrolledList::OnButtonDown>(),
        MapMessage<WM_LBUTTONDBLCLK, &CXTPScrolledList::OnButtonDown>(),
        MapMessage<WM_LBUTTONUP, &CXTPScrolledList::OnButtonUp>(),
        MapMessage<WM_MOUSEMOVE, &CXTPScrolledList::OnMove>(),
        MapMessage<WM_NCMOUSEMOVE, &CXTPScrolledList::OnFrameMove>(),
        MapMessage<WM_NCMOUSELEAVE, &CXTPScrolledList::OnFrameLeave>(),
        MapMessage<WM_CAPTURECHANGED, &CXTPScrolledList::OnCaptureChanged>(),
        MapMessage<WM_TIMER, &CXTPScrolledList::OnTimer>(),
        MapMessage<WM_MOUSEWHEEL, &CXTPScrolledList::OnWheel>(),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    const LRESULT result = Default(message, wParam, lParam);
    if (message != WM_DESTROY) Update();
    return result;
}

LRESULT CXTPScrolledList::Ask(UINT message, WPARAM wParam) const {
    return SendMessageW(Handle(), message, wParam, 0);
}

ReportScrollRange CXTPScrolledList::Range() const {
    RECT client = {};
    GetClientRect(Handle(), &client);
    const int height = std::max(static_cast<int>(Ask(LB_GETITEMHEIGHT)), 1);
    return {static_cast<int>(Ask(LB_GETCOUNT)), std::max(static_cast<int>(client.bottom) / height, 1),
            static_cast<int>(Ask(LB_GETTOPINDEX))};
}

bool CXTPScrolledList::HasSystemBar() const {
    return (Style() & WS_VSCROLL) != 0;
}

RECT CXTPScrolledList::BarPlace() const {
    RECT window = {};
    GetWindowRect(Handle(), &window);
    const LONG right = window.right - window.left - 1;
    return {right - ScaleForDpi(kBarAt96Dpi), 1, right, window.bottom - window.top - 1};
}

void CXTPScrolledList::Update() {
    if (m_updating || Handle() == nullptr) return;
    m_updating = true;
    const ReportScrollRange range = Range();
    const bool needed = range.total > range.page && !HasSystemBar();
    const bool changed = needed != m_hasBar;
    m_hasBar = needed;
    if (changed) {
        SetWindowPos(Handle(), nullptr, 0, 0, 0, 0,
                     SWP_FRAMECHANGED | SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
        Redraw();
    }
    m_bar.Place(m_hasBar ? BarPlace() : RECT{}, range, ScaleForDpi(kThumbAt96Dpi));
    if (m_hasBar && (changed || range != m_shown)) DrawFrame();
    m_shown = range;
    m_updating = false;
}

void CXTPScrolledList::ScrollTo(int position) {
    const int last = std::max(m_shown.total - m_shown.page, 0);
    Ask(LB_SETTOPINDEX, static_cast<WPARAM>(std::clamp(position, 0, last)));
}

void CXTPScrolledList::DrawFrame() const {
    const CWindowDC screen(Handle(), CWindowDC::Area::Whole);
    const HDC device = screen.Get();
    RECT window = {};
    GetWindowRect(Handle(), &window);
    OffsetRect(&window, -window.left, -window.top);
    FrameRect(device, &window, Paint().GetBrush(BorderColor()));
    if (m_hasBar) m_bar.Draw(device, Paint());
}

bool CXTPScrolledList::OnCalcSize(RECT& client) const {
    if (HasSystemBar()) return false;
    InflateRect(&client, -1, -1);
    if (m_hasBar) client.right -= ScaleForDpi(kBarAt96Dpi);
    return true;
}

bool CXTPScrolledList::OnPaintFrame() {
    if (HasSystemBar()) Default(WM_NCPAINT, 1, 0);  // 1: the whole frame
    DrawFrame();
    return true;
}

std::optional<LRESULT> CXTPScrolledList::OnHitTest(WPARAM, LPARAM lParam) const {
    const POINT point = InWindow(PointOf(lParam));
    if (!m_hasBar || !PtInRect(&m_bar.Rect(), point)) return std::nullopt;
    return HTBORDER;
}

POINT CXTPScrolledList::InWindow(POINT screen) const {
    RECT window = {};
    GetWindowRect(Handle(), &window);
    return {screen.x - window.left, screen.y - window.top};
}

POINT CXTPScrolledList::FromClient(POINT client) const {
    ClientToScreen(Handle(), &client);
    return client;
}

void CXTPScrolledList::Press(POINT screen) {
    // An open combo box's list has the capture already, and keeps it.
    m_ownCapture = GetCapture() != Handle();
    if (m_ownCapture) SetCapture(Handle());
    ScrollTo(m_bar.Press(InWindow(screen)));
    if (m_bar.IsPaging()) SetTimer(Handle(), kPageTimer, kFirstPageDelay, nullptr);
    DrawFrame();
}

bool CXTPScrolledList::OnFrameButtonDown(WPARAM hit, LPARAM lParam) {
    if (!m_hasBar || hit != HTBORDER) return false;
    Press(PointOf(lParam));
    return true;
}

bool CXTPScrolledList::OnButtonDown(POINT client) {
    const POINT screen = FromClient(client);
    const POINT point = InWindow(screen);
    if (!m_hasBar || !PtInRect(&m_bar.Rect(), point)) return false;
    Press(screen);
    return true;
}

bool CXTPScrolledList::OnButtonUp() {
    if (!m_bar.IsPressed()) return false;
    OnCaptureChanged();
    if (m_ownCapture) ReleaseCapture();
    return true;
}

bool CXTPScrolledList::OnMove(POINT client) {
    const POINT point = InWindow(FromClient(client));
    if (!m_bar.IsPressed()) {
        SetHot(m_hasBar && PtInRect(&m_bar.Rect(), point));
        return false;
    }
    if (!m_bar.IsPaging()) ScrollTo(m_bar.Move(point));
    return true;
}

bool CXTPScrolledList::OnFrameMove(WPARAM hit) {
    if (!m_hasBar || hit != HTBORDER) return false;
    TRACKMOUSEEVENT track = {sizeof(track), TME_LEAVE | TME_NONCLIENT, Handle(), 0};
    TrackMouseEvent(&track);
    SetHot(true);
    return false;
}

bool CXTPScrolledList::OnFrameLeave() {
    SetHot(false);
    return false;
}

void CXTPScrolledList::SetHot(bool hot) {
    if (m_bar.SetHot(hot)) DrawFrame();
}

bool CXTPScrolledList::OnCaptureChanged() {
    if (!m_bar.IsPressed()) return false;
    KillTimer(Handle(), kPageTimer);
    m_bar.Release();
    DrawFrame();
    return false;
}

bool CXTPScrolledList::OnTimer(WPARAM id) {
    if (id != kPageTimer) return false;
    POINT screen = {};
    GetCursorPos(&screen);
    SetTimer(Handle(), kPageTimer, kNextPageDelay, nullptr);
    ScrollTo(m_bar.RepeatPage(InWindow(screen)));
    return true;
}

bool CXTPScrolledList::OnWheel(int delta) {
    if (!m_hasBar) return false;
    UINT lines = 3;
    SystemParametersInfoW(SPI_GETWHEELSCROLLLINES, 0, &lines, 0);
    const UINT most = static_cast<UINT>(m_shown.page);  // the setting "a page" is the largest number
    ScrollTo(m_shown.position - m_wheel.Take(delta, static_cast<int>(std::min(lines, most))));
    return true;
}
