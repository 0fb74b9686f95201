#include <algorithm>

#include "toolkit/Clipboard.h"
#include "toolkit/Gdi.h"
#include "toolkit/MessageMap.h"
#include "toolkit/report/ReportControl.h"
#include "toolkit/report/ReportNotification.h"
#include "toolkit/report/ReportText.h"

namespace {

constexpr UINT_PTR kPageTimer = 0x7001;  // apart from the timers of derived classes
constexpr UINT kFirstPageDelay = 300;    // milliseconds that a track is pressed before paging repeats
constexpr UINT kNextPageDelay = 60;
constexpr WPARAM kCopyKey = 'C';

bool IsDown(int key) {
    return GetKeyState(key) < 0;
}

UINT WheelSetting(UINT which) {
    UINT steps = 3;
    SystemParametersInfoW(which, 0, &steps, 0);
    return steps;
}

}  // namespace

std::optional<LRESULT> CXTPReportControl::OnInputMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    using Self = CXTPReportControl;
    static constexpr std::array kMap = {
        MapMessage<WM_GETDLGCODE, &Self::OnGetDialogCode>(),
        MapMessage<WM_KEYDOWN, &Self::OnKeyDown>(),
        MapMessage<WM_LBUTTONDOWN, &Self::OnButtonDown>(),
        MapMessage<WM_LBUTTONDBLCLK, &Self::OnDoubleClick>(),
        MapMessage<WM_LBUTTONUP, &Self::OnButtonUp>(),
        MapMessage<WM_CAPTURECHANGED, &Self::EndMousePress>(),
        MapMessage<WM_RBUTTONDOWN, &Self::OnRightButtonDown>(),
        MapMessage<WM_RBUTTONUP, &Self::OnRightButtonUp>(),
        MapMessage<WM_MOUSEMOVE, &Self::OnMouseMove>(),
        MapMessage<WM_MOUSELEAVE, &Self::OnMouseLeave>(),
        MapMessage<WM_MOUSEHOVER, &Self::ShowTip>(),
        MapMessage<WM_MOUSEWHEEL, &Self::OnWheel>(),
        MapMessage<WM_MOUSEHWHEEL, &Self::OnHorizontalWheel>(),
        MapMessage<WM_SETCURSOR, &Self::OnSetCursor>(),
        MapMessage<WM_TIMER, &Self::OnPageTimer>(),
    };
    return DispatchByMap(*this, kMap, message, wParam, lParam);
}

LRESULT CXTPReportControl::OnGetDialogCode() const {
    return DLGC_WANTARROWS;
}

bool CXTPReportControl::OnKeyDown(WPARAM key) {
    ForgetTip();
    if (key == kCopyKey && IsDown(VK_CONTROL) && !IsDown(VK_MENU)) {
        if (m_state.focusedRow >= 0) CopyTextToClipboard(Handle(), ReportRowText(m_state, m_state.focusedRow));
        return true;
    }
    if (key == VK_LEFT || key == VK_RIGHT) {
        const int step = key == VK_LEFT ? -m_state.metrics.rowHeight : m_state.metrics.rowHeight;
        ScrollTo({m_state.scroll.topRow, m_state.scroll.offset + step});
        return true;
    }
    const std::optional<int> row = ReportRowForKey(key, m_state.focusedRow, m_state.rowCount, m_state.layout.fullRows);
    if (row) SetFocusedRow(*row);
    return row.has_value();
}

void CXTPReportControl::OnButtonDown(POINT point) {
    ForgetTip();
    if (GetFocus() != Handle()) SetFocus(Handle());
    const ReportHit hit = HitTest(point);
    switch (hit.area) {
        case ReportArea::Divider:
            m_dividerDrag = DividerDrag{hit.column, static_cast<int>(point.x), m_state.sizes, m_state.layout};
            SetCapture(Handle());
            break;
        case ReportArea::VerticalBar:
            SetCapture(Handle());
            ScrollBarTo(ReportDirection::Vertical, m_verticalBar.Press(point));
            break;
        case ReportArea::HorizontalBar:
            SetCapture(Handle());
            ScrollBarTo(ReportDirection::Horizontal, m_horizontalBar.Press(point));
            break;
        case ReportArea::Row:
            SetFocusedRow(hit.row);
            return;
        default:
            break;
    }
    if (m_verticalBar.IsPaging() || m_horizontalBar.IsPaging()) SetTimer(Handle(), kPageTimer, kFirstPageDelay, nullptr);
    InvalidateRect(Handle(), &m_state.layout.verticalBar, FALSE);
    InvalidateRect(Handle(), &m_state.layout.horizontalBar, FALSE);
}

void CXTPReportControl::OnRightButtonDown(POINT point) {
    ForgetTip();
    if (GetFocus() != Handle()) SetFocus(Handle());
    const ReportHit hit = HitTest(point);
    if (hit.area == ReportArea::Row) SetFocusedRow(hit.row);
}

void CXTPReportControl::OnButtonUp() const {
    ReleaseCapture();
}

// False: the parent does not want it; the system makes a WM_CONTEXTMENU of it.
bool CXTPReportControl::OnRightButtonUp(POINT point) const {
    const ReportHit hit = HitTest(point);
    return Notify(kReportRightClick, hit.row, hit.column, point) != 0;
}

void CXTPReportControl::OnDoubleClick(POINT point) {
    const ReportHit hit = HitTest(point);
    if (hit.area == ReportArea::Divider) {
        FitColumn(hit.column);
        return;
    }
    OnButtonDown(point);  // of two quick clicks each counts
    if (hit.area == ReportArea::Row) Notify(kReportDoubleClick, hit.row, hit.column, point);
}

void CXTPReportControl::OnMouseMove(POINT point) {
    if (m_dividerDrag) {
        const int distance = static_cast<int>(point.x) - m_dividerDrag->from;
        m_state.sizes = MoveReportDivider(m_dividerDrag->sizes, m_dividerDrag->layout, m_dividerDrag->column, distance);
        UpdateLayout();
        return;
    }
    if (m_verticalBar.IsPressed() && !m_verticalBar.IsPaging())
        return ScrollBarTo(ReportDirection::Vertical, m_verticalBar.Move(point));
    if (m_horizontalBar.IsPressed() && !m_horizontalBar.IsPaging())
        return ScrollBarTo(ReportDirection::Horizontal, m_horizontalBar.Move(point));

    const ReportHit hit = HitTest(point);
    if (m_verticalBar.SetHot(hit.area == ReportArea::VerticalBar))
        InvalidateRect(Handle(), &m_state.layout.verticalBar, FALSE);
    if (m_horizontalBar.SetHot(hit.area == ReportArea::HorizontalBar))
        InvalidateRect(Handle(), &m_state.layout.horizontalBar, FALSE);
    if (hit == m_hovered) return;
    ForgetTip();
    m_hovered = hit;
    TRACKMOUSEEVENT track = {sizeof(track), TME_LEAVE | TME_HOVER, Handle(), HOVER_DEFAULT};
    TrackMouseEvent(&track);
}

void CXTPReportControl::OnMouseLeave() {
    ForgetTip();
    if (m_verticalBar.SetHot(false)) InvalidateRect(Handle(), &m_state.layout.verticalBar, FALSE);
    if (m_horizontalBar.SetHot(false)) InvalidateRect(Handle(), &m_state.layout.horizontalBar, FALSE);
}

bool CXTPReportControl::OnPageTimer(WPARAM id) {
    if (id != kPageTimer) return false;
    POINT point = {};
    GetCursorPos(&point);
    ScreenToClient(Handle(), &point);
    SetTimer(Handle(), kPageTimer, kNextPageDelay, nullptr);
    if (m_verticalBar.IsPaging()) ScrollBarTo(ReportDirection::Vertical, m_verticalBar.RepeatPage(point));
    if (m_horizontalBar.IsPaging()) ScrollBarTo(ReportDirection::Horizontal, m_horizontalBar.RepeatPage(point));
    return true;
}

void CXTPReportControl::EndMousePress() {
    KillTimer(Handle(), kPageTimer);
    m_dividerDrag.reset();
    m_verticalBar.Release();
    m_horizontalBar.Release();
    InvalidateRect(Handle(), &m_state.layout.verticalBar, FALSE);
    InvalidateRect(Handle(), &m_state.layout.horizontalBar, FALSE);
}

void CXTPReportControl::ScrollBarTo(ReportDirection direction, int position) {
    if (direction == ReportDirection::Vertical)
        ScrollTo({position, m_state.scroll.offset});
    else
        ScrollTo({m_state.scroll.topRow, position});
}

void CXTPReportControl::OnWheel(int delta, WORD keys) {
    Wheel(delta, (keys & MK_SHIFT) != 0);
}

void CXTPReportControl::OnHorizontalWheel(int delta) {
    Wheel(-delta, true);
}

void CXTPReportControl::Wheel(int delta, bool horizontal) {
    constexpr UINT kMostCharacters = 20;
    const UINT setting = WheelSetting(horizontal ? SPI_GETWHEELSCROLLCHARS : SPI_GETWHEELSCROLLLINES);
    // More than a page would skip rows; the setting "a page" is the largest number.
    const UINT most = horizontal ? kMostCharacters : static_cast<UINT>(m_state.layout.fullRows);
    const int lines = static_cast<int>(std::min(setting, most));
    ReportScroll scroll = m_state.scroll;
    if (horizontal)
        scroll.offset -= m_horizontalWheel.Take(delta, lines * m_state.metrics.rowHeight);
    else
        scroll.topRow -= m_verticalWheel.Take(delta, lines);
    ScrollTo(scroll);
}

std::optional<LRESULT> CXTPReportControl::OnSetCursor(WPARAM, LPARAM hit) const {
    if (LOWORD(hit) != HTCLIENT || !ShowDividerCursor()) return std::nullopt;
    return TRUE;
}

bool CXTPReportControl::ShowDividerCursor() const {
    POINT point = {};
    GetCursorPos(&point);
    ScreenToClient(Handle(), &point);
    if (!m_dividerDrag && HitTest(point).area != ReportArea::Divider) return false;
    SetCursor(LoadCursorW(nullptr, MAKEINTRESOURCEW(32644)));  // the horizontal sizing arrows
    return true;
}

bool CXTPReportControl::IsTextCut(const ReportHit& cell, const std::wstring& text) const {
    RECT visible = m_state.CellRect(cell.row, cell.column);
    IntersectRect(&visible, &visible, &m_state.layout.rows);
    return TextSize(Handle(), m_state.font, text).cx > visible.right - visible.left - 2 * m_state.metrics.padding;
}

void CXTPReportControl::ShowTip() {
    if (m_hovered.area != ReportArea::Row || m_hovered.column < 0) return;
    ReportItemMetrics metrics;
    const std::size_t column = static_cast<std::size_t>(m_hovered.column);
    m_state.Row(m_hovered.row).GetItemMetrics(m_state.columns[column].ItemIndex(), metrics);
    if (metrics.tip.empty() && IsTextCut(m_hovered, metrics.text)) metrics.tip = metrics.text;
    if (metrics.tip.empty()) return m_tip.Hide();
    RECT cell = m_state.CellRect(m_hovered.row, m_hovered.column);
    IntersectRect(&cell, &cell, &m_state.layout.rows);
    MapWindowPoints(Handle(), nullptr, reinterpret_cast<POINT*>(&cell), 2);
    m_tip.Show(Handle(), metrics.tip, m_state.font, cell);
}

void CXTPReportControl::ForgetTip() {
    m_tip.Hide();
    m_hovered = {};
}
