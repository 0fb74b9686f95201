#include "toolkit/report/ReportPainter.h"

#include <algorithm>

#include "toolkit/report/ReportText.h"

HDC CReportBuffer::Begin(HDC target, SIZE size, HFONT font) {
    m_font.reset();
    if (!m_memory || m_size.cx < size.cx || m_size.cy < size.cy) {
        m_memory.emplace(target, size);
        m_size = size;
        SetBkMode(m_memory->Device(), TRANSPARENT);
    }
    m_font.emplace(m_memory->Device(), font);
    return m_memory->Device();
}

void CReportBuffer::CopyTo(HDC target, const RECT& place) const {
    m_memory->CopyTo(target, place);
}

namespace {

constexpr UINT kTextFormat = DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX;

UINT AlignmentFormat(ReportAlignment alignment) {
    switch (alignment) {
        case ReportAlignment::Right:
            return DT_RIGHT;
        case ReportAlignment::Center:
            return DT_CENTER;
        case ReportAlignment::Left:
            break;
    }
    return DT_LEFT;
}

void DrawCellText(HDC dc, const std::wstring& text, RECT place, int padding, COLORREF color, UINT format) {
    InflateRect(&place, -padding, 0);
    if (text.empty() || place.left >= place.right) return;
    SetTextColor(dc, color);
    DrawTextW(dc, text.data(), static_cast<int>(text.size()), &place, format | kTextFormat);
}

// The part of a row or cell that can be seen and lies in the region; empty if none does.
RECT VisibleIn(HRGN region, const ReportState& state, const RECT& rect) {
    RECT visible = {};
    if (IntersectRect(&visible, &rect, &state.layout.rows) && RectInRegion(region, &visible)) return visible;
    return {};
}

SIZE BufferSize(const ReportState& state) {
    const LONG width = state.layout.header.right - state.layout.header.left;
    return {std::max(width, LONG{1}), std::max(state.metrics.headerHeight, state.metrics.rowHeight)};
}

}  // namespace

void CReportPainter::Draw(HDC target, HRGN region, const ReportState& state, std::vector<RECT>& torn) {
    FitCells(state);
    m_buffer.Begin(target, BufferSize(state), state.font);
    if (RectInRegion(region, &state.layout.header)) DrawHeader(target, state);

    const int saved = SaveDC(target);
    const RECT& rows = state.layout.rows;
    IntersectClipRect(target, rows.left, rows.top, rows.right, rows.bottom);
    const ReportSpan visible = state.VisibleRows();
    for (int row = visible.begin; row < visible.end; ++row)
        DrawRow(target, region, state, row, torn);
    DrawSpaceBelow(target, region, state);
    RestoreDC(target, saved);
}

void CReportPainter::DrawHeader(HDC target, const ReportState& state) {
    const HDC buffer = m_buffer.Begin(target, BufferSize(state), state.font);
    const RECT& header = state.layout.header;
    const RECT whole = {0, 0, header.right, header.bottom};
    FillRect(buffer, &whole, m_paintManager.GetBrush(ThemeColor::HeaderFace));
    const ReportSpan columns = VisibleReportColumns(state.layout, state.scroll);
    const COLORREF text =
        state.enabled ? m_paintManager.GetColor(ThemeColor::HeaderText) : m_paintManager.GetColor(COLOR_GRAYTEXT);
    for (int i = columns.begin; i < columns.end; ++i) {
        const auto index = static_cast<std::size_t>(i);
        const ReportSpan span = state.layout.columns[index];
        const RECT place = {span.begin - state.scroll.offset, 0, span.end - state.scroll.offset, whole.bottom};
        DrawCellText(buffer, state.columns[index].Caption(), place, state.metrics.padding, text,
                     AlignmentFormat(state.columns[index].Alignment()) | DT_END_ELLIPSIS);
        if (state.layout.filled && index + 1 == state.columns.size()) continue;
        const LONG inset = whole.bottom / 5;
        const RECT divider = {place.right - 1, inset, place.right, whole.bottom - inset};
        FillRect(buffer, &divider, m_paintManager.GetBrush(ThemeColor::HeaderLine));
    }
    const RECT line = {0, whole.bottom - 1, whole.right, whole.bottom};
    FillRect(buffer, &line, m_paintManager.GetBrush(ThemeColor::HeaderLine));
    m_buffer.CopyTo(target, header);
}

void CReportPainter::DrawRow(HDC target, HRGN region, const ReportState& state, int row, std::vector<RECT>& torn) {
    const RECT rect = state.RowRect(row);
    const RECT visibleRow = VisibleIn(region, state, rect);
    if (IsRectEmpty(&visibleRow)) return;
    const HDC buffer = m_buffer.Begin(target, BufferSize(state), state.font);
    const RowColors colors = ColorsOf(state, row);
    const RECT whole = {0, 0, rect.right - rect.left, state.metrics.rowHeight};
    FillRect(buffer, &whole, m_paintManager.GetBrush(colors.face));
    const ReportSpan columns = VisibleReportColumns(state.layout, state.scroll);
    for (int i = columns.begin; i < columns.end; ++i) {
        const RECT cell = state.CellRect(row, i);
        const RECT visible = VisibleIn(region, state, cell);
        if (IsRectEmpty(&visible)) continue;
        state.Row(row).GetItemMetrics(state.columns[static_cast<std::size_t>(i)].ItemIndex(), m_metrics);
        if (TakeDrawn(CellAt(state, row, i), row)) torn.push_back(visible);
        DrawItem(buffer, {cell.left, 0, cell.right, whole.bottom}, state, i, colors);
    }
    if (state.hasFocus && row == state.CueRow()) FrameRect(buffer, &whole, m_paintManager.GetBrush(ThemeColor::RowFocus));
    m_buffer.CopyTo(target, rect);
}

// Remembers the metrics at hand as drawn; true when the cell counted as drawn with others.
bool CReportPainter::TakeDrawn(Cell& cell, int row) {
    const bool torn = cell.row == row && (cell.text != m_metrics.text || cell.textColor != m_metrics.textColor);
    cell.row = row;
    cell.text = m_metrics.text;
    cell.textColor = m_metrics.textColor;
    ++m_drawnCells;
    return torn;
}

void CReportPainter::DrawItem(HDC buffer, const RECT& place, const ReportState& state, int column, const RowColors& colors) {
    COLORREF text = colors.text;
    if (m_metrics.textColor && state.enabled) {
        // The record cannot know the selection's colours.
        text = *m_metrics.textColor;
        if (colors.selected) text = ReadableReportColor(text, colors.face, colors.text);
    }
    const ReportAlignment alignment = state.columns[static_cast<std::size_t>(column)].Alignment();
    DrawCellText(buffer, m_metrics.text, place, state.metrics.padding, text, AlignmentFormat(alignment) | DT_END_ELLIPSIS);
}

void CReportPainter::DrawSpaceBelow(HDC target, HRGN region, const ReportState& state) {
    RECT space = state.layout.rows;
    if (state.rowCount > 0) space.top = state.RowRect(state.VisibleRows().end).top;
    if (space.top >= space.bottom || !RectInRegion(region, &space)) return;
    const HBRUSH brush = m_paintManager.GetBrush(ThemeColor::RowFace);
    if (state.rowCount == 0 && !state.emptyText.empty()) {
        const LONG top = (space.top + space.bottom - state.metrics.rowHeight) / 2;
        const RECT line = {space.left, top, space.right, top + state.metrics.rowHeight};
        const RECT whole = {0, 0, line.right - line.left, state.metrics.rowHeight};
        const HDC buffer = m_buffer.Begin(target, BufferSize(state), state.font);
        FillRect(buffer, &whole, brush);
        DrawCellText(buffer, state.emptyText, whole, state.metrics.padding, m_paintManager.GetColor(COLOR_GRAYTEXT),
                     DT_CENTER | DT_END_ELLIPSIS);
        m_buffer.CopyTo(target, line);
        ExcludeClipRect(target, line.left, line.top, line.right, line.bottom);
    }
    FillRect(target, &space, brush);
}

CReportPainter::RowColors CReportPainter::ColorsOf(const ReportState& state, int row) const {
    const auto part = [this](ThemeColor color) { return m_paintManager.GetColor(color); };
    const COLORREF text = state.enabled ? part(ThemeColor::RowText) : m_paintManager.GetColor(COLOR_GRAYTEXT);
    if (row == state.focusedRow && state.hasFocus)
        return {part(ThemeColor::RowSelected), part(ThemeColor::RowSelectedText), true};
    if (row == state.focusedRow) return {part(ThemeColor::RowSelectedInactive), text, true};
    return {part(row % 2 == 1 ? ThemeColor::RowStripe : ThemeColor::RowFace), text, false};
}

void CReportPainter::FindChanged(const ReportState& state, std::vector<RECT>& changed) {
    FitCells(state);
    const ReportSpan rows = state.VisibleRows();
    const ReportSpan columns = VisibleReportColumns(state.layout, state.scroll);
    for (int row = rows.begin; row < rows.end; ++row) {
        for (int i = columns.begin; i < columns.end; ++i) {
            state.Row(row).GetItemMetrics(state.columns[static_cast<std::size_t>(i)].ItemIndex(), m_metrics);
            Cell& cell = CellAt(state, row, i);
            if (cell.row == row && cell.text == m_metrics.text && cell.textColor == m_metrics.textColor) continue;
            cell.row = -1;
            changed.push_back(state.CellRect(row, i));
        }
    }
}

void CReportPainter::Forget() {
    for (Cell& cell : m_cells)
        cell.row = -1;
}

void CReportPainter::FitCells(const ReportState& state) {
    const int lines = static_cast<int>(state.layout.rows.bottom - state.layout.rows.top) / state.metrics.rowHeight + 2;
    const std::size_t count = static_cast<std::size_t>(lines) * state.columns.size();
    if (lines == m_lines && count == m_cells.size()) return;
    m_lines = lines;
    m_cells.assign(count, {});
}

CReportPainter::Cell& CReportPainter::CellAt(const ReportState& state, int row, int column) {
    const std::size_t line = static_cast<std::size_t>(row) % static_cast<std::size_t>(m_lines);
    return m_cells[line * state.columns.size() + static_cast<std::size_t>(column)];
}
