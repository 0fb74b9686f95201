#include "toolkit/report/ReportControl.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "toolkit/Gdi.h"
#include "toolkit/report/ReportNotification.h"
#include "toolkit/report/ReportText.h"

namespace {

ReportMetrics MetricsFor(HWND window, HFONT font) {
    const int textHeight = FontHeight(window, font);
    ReportMetrics metrics;
    metrics.rowHeight = textHeight + ScaleForDpi(6);
    metrics.headerHeight = textHeight + ScaleForDpi(9);
    metrics.scrollBar = ScaleForDpi(10);
    metrics.minThumb = ScaleForDpi(20);
    metrics.padding = ScaleForDpi(6);
    metrics.dividerReach = ScaleForDpi(4);
    return metrics;
}

bool HasBorder(HWND window) {
    return (GetWindowLongPtrW(window, GWL_STYLE) & WS_BORDER) != 0;
}

}  // namespace

CXTPReportControl::CXTPReportControl(const CXTPPaintManager& paintManager)
    : m_paintManager(paintManager), m_painter(paintManager), m_tip(paintManager) {
    m_state.font = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
}

CXTPReportControl::~CXTPReportControl() {
    LetGo();
}

bool CXTPReportControl::Create(HWND parent, int id, const RECT& place, DWORD style) {
    WindowSpec spec;
    spec.className = L"QuorvelReport";
    spec.classStyle = CS_DBLCLKS;
    spec.style = style;
    spec.place = place;
    spec.parent = parent;
    spec.id = id;
    return CWnd::Create(spec);
}

void CXTPReportControl::Begin() {
    m_state.enabled = IsWindowEnabled(Handle()) != FALSE;
    m_state.hasFocus = GetFocus() == Handle();
    SetFont(m_setFont);
}

void CXTPReportControl::AddColumn(CXTPReportColumn column) {
    const int minWidth = std::max(ScaleForDpi(column.MinWidth()), 1);
    m_state.sizes.push_back({std::max(ScaleForDpi(column.Width()), minWidth), minWidth, column.Stretch()});
    m_state.columns.push_back(std::move(column));
    m_dividerDrag.reset();  // it holds the former columns
    UpdateLayout();
}

int CXTPReportControl::ColumnWidth(int column) const {
    return m_state.layout.columns[static_cast<std::size_t>(column)].Length();
}

void CXTPReportControl::FitColumn(int column) {
    ReportColumnSize& size = m_state.sizes[static_cast<std::size_t>(column)];
    size.width = std::max(size.minWidth, ReportContentWidth(Handle(), m_state, column));
    UpdateLayout();
}

void CXTPReportControl::SetEmptyText(std::wstring text) {
    m_state.emptyText = std::move(text);
    RedrawAll();
}

void CXTPReportControl::SetVirtualMode(CXTPReportRecord* record, int rowCount) {
    m_state.record = record;
    m_state.rowCount = std::max(rowCount, 0);
    UpdateLayout();
    ForgetTip();
    ChangeFocusedRow(std::min(m_state.focusedRow, m_state.rowCount - 1));
}

void CXTPReportControl::ResetState() {
    ScrollTo({});
    ChangeFocusedRow(-1);
}

void CXTPReportControl::Refresh() {
    if (Handle() == nullptr || !IsWindowVisible(Handle())) return;
    std::vector<RECT> changed;
    m_painter.FindChanged(m_state, changed);
    InvalidateCells(changed);
    if (m_tip.IsShown()) ShowTip();
}

void CXTPReportControl::RedrawAll() {
    m_painter.Forget();
    if (Handle() != nullptr) InvalidateRect(Handle(), nullptr, FALSE);
}

void CXTPReportControl::SetFocusedRow(int row) {
    const bool inside = row >= 0 && row < m_state.rowCount;
    if (inside) ScrollTo(ReportScrollToRow(m_state.layout, m_state.scroll, row));
    ChangeFocusedRow(inside ? row : -1);
}

// Last in what a caller does: the parent may change the control in its notification.
void CXTPReportControl::ChangeFocusedRow(int row) {
    if (row == m_state.focusedRow) return;
    InvalidateRow(m_state.CueRow());
    m_state.focusedRow = row;
    InvalidateRow(m_state.CueRow());
    Notify(kReportFocusedRowChanged, row, -1, {});
}

void CXTPReportControl::InvalidateRow(int row) {
    const RECT rect = m_state.RowRect(row);
    RECT visible = {};
    if (Handle() != nullptr && IntersectRect(&visible, &rect, &m_state.layout.rows))
        InvalidateRect(Handle(), &visible, FALSE);
}

// In one call: each one is a round trip to the window system.
void CXTPReportControl::InvalidateCells(const std::vector<RECT>& cells) {
    if (cells.empty()) return;
    const RegionHandle region(CreateRectRgn(0, 0, 0, 0));
    for (const RECT& cell : cells) {
        RECT visible = {};
        IntersectRect(&visible, &cell, &m_state.layout.rows);
        const RegionHandle one(CreateRectRgnIndirect(&visible));
        CombineRgn(region.get(), region.get(), one.get(), RGN_OR);
    }
    InvalidateRgn(Handle(), region.get(), FALSE);
}

void CXTPReportControl::ScrollTo(ReportScroll scroll) {
    const ReportScroll clamped = ClampReportScroll(m_state.layout, m_state.rowCount, scroll);
    if (clamped == m_state.scroll) return;
    m_state.scroll = clamped;
    PlaceScrollBars();
    ForgetTip();
    RedrawAll();
}

std::wstring CXTPReportControl::Text() const {
    return ReportText(m_state, std::numeric_limits<std::size_t>::max());
}

void CXTPReportControl::SetFont(HFONT font) {
    m_setFont = font;
    m_state.font = font != nullptr ? font : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
    m_state.metrics = MetricsFor(Handle(), m_state.font);
    UpdateLayout();
}

void CXTPReportControl::UpdateLayout() {
    RECT client = {};
    if (Handle() != nullptr) GetClientRect(Handle(), &client);
    m_state.layout = LayOutReport(m_state.sizes, {client.right, client.bottom}, m_state.rowCount, m_state.metrics);
    m_state.scroll = ClampReportScroll(m_state.layout, m_state.rowCount, m_state.scroll);
    PlaceScrollBars();
    RedrawAll();
}

void CXTPReportControl::PlaceScrollBars() {
    const ReportLayout& layout = m_state.layout;
    const int minThumb = m_state.metrics.minThumb;
    m_verticalBar.Place(layout.verticalBar, {m_state.rowCount, layout.fullRows, m_state.scroll.topRow}, minThumb);
    const int width = static_cast<int>(layout.rows.right - layout.rows.left);
    m_horizontalBar.Place(layout.horizontalBar, {layout.contentWidth, width, m_state.scroll.offset}, minThumb);
}

void CXTPReportControl::Paint() {
    std::vector<RECT> torn;
    const RegionHandle region(CreateRectRgn(0, 0, 0, 0));
    GetUpdateRgn(Handle(), region.get(), FALSE);
    Draw(CPaintDC(Handle()).Get(), region.get(), torn);
    InvalidateCells(torn);
}

void CXTPReportControl::Draw(HDC dc, HRGN region, std::vector<RECT>& torn) {
    m_painter.Draw(dc, region, m_state, torn);
    m_verticalBar.Draw(dc, m_paintManager);
    m_horizontalBar.Draw(dc, m_paintManager);
    const ReportLayout& layout = m_state.layout;
    const RECT corner = {layout.rows.right, layout.rows.bottom, layout.verticalBar.right, layout.horizontalBar.bottom};
    if (corner.left < corner.right && corner.top < corner.bottom)
        FillRect(dc, &corner, m_paintManager.GetBrush(ThemeColor::ScrollTrack));
}

void CXTPReportControl::DrawBorder() const {
    RECT rect = {};
    GetWindowRect(Handle(), &rect);
    OffsetRect(&rect, static_cast<int>(-rect.left), static_cast<int>(-rect.top));
    const CWindowDC dc(Handle(), CWindowDC::Area::Whole);
    FrameRect(dc.Get(), &rect, m_paintManager.GetBrush(ThemeColor::FieldBorder));
}

void CXTPReportControl::SetHasFocus(bool hasFocus) {
    m_state.hasFocus = hasFocus;
    InvalidateRow(m_state.CueRow());
    if (!hasFocus) ForgetTip();
}

LRESULT CXTPReportControl::Notify(UINT code, int row, int column, POINT point) const {
    if (Handle() == nullptr) return 0;
    const int id = GetDlgCtrlID(Handle());
    ReportNotification notification = {{Handle(), static_cast<UINT_PTR>(id), code}, row, column, point};
    return SendMessageW(GetParent(Handle()), WM_NOTIFY, static_cast<WPARAM>(id), reinterpret_cast<LPARAM>(&notification));
}

std::optional<LRESULT> CXTPReportControl::OnWindowMessage(UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
        case WM_CREATE:
            Begin();
            return 0;
        case WM_SIZE:
            UpdateLayout();
            return 0;
        case WM_ERASEBKGND:
            return 1;
        case WM_PAINT:
            Paint();
            return 0;
        case WM_PRINTCLIENT: {
            std::vector<RECT> torn;
            RECT client = {};
            GetClientRect(Handle(), &client);
            const RegionHandle all(CreateRectRgnIndirect(&client));
            Draw(reinterpret_cast<HDC>(wParam), all.get(), torn);
            RedrawAll();  // the window itself shows older cells than those remembered
            return 0;
        }
        case WM_NCPAINT:
            if (!HasBorder(Handle())) return std::nullopt;
            DrawBorder();
            return 0;
        case WM_THEMECHANGED:
            RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME);
            return 0;
        case WM_ENABLE:
            m_state.enabled = wParam != 0;
            RedrawAll();
            return 0;
        case WM_SETFOCUS:
            SetHasFocus(true);
            return 0;
        case WM_KILLFOCUS:
            SetHasFocus(false);
            return 0;
        default:
            return std::nullopt;
    }
}

std::optional<LRESULT> CXTPReportControl::OnTextMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_GETTEXTLENGTH:
            return static_cast<LRESULT>(Text().size());
        case WM_GETTEXT: {
            if (wParam == 0) return 0;
            const std::wstring text = ReportText(m_state, wParam);
            const std::size_t count = std::min<std::size_t>(text.size(), wParam - 1);
            auto* buffer = reinterpret_cast<wchar_t*>(lParam);
            text.copy(buffer, count);
            buffer[count] = L'\0';
            return static_cast<LRESULT>(count);
        }
        case WM_SETFONT:
            SetFont(reinterpret_cast<HFONT>(wParam));
            return 0;
        case WM_GETFONT:
            return reinterpret_cast<LRESULT>(m_setFont);
        default:
            return std::nullopt;
    }
}

LRESULT CXTPReportControl::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    std::optional<LRESULT> result = OnWindowMessage(message, wParam, lParam);
    if (!result) result = OnTextMessage(message, wParam, lParam);
    if (!result) result = OnInputMessage(message, wParam, lParam);
    return result ? *result : CWnd::OnMessage(message, wParam, lParam);
}
