#include "toolkit/report/ReportLayout.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

// Where no pixel is left for a part it is empty, never inside out.
int AtLeastZero(LONG length) {
    return std::max(static_cast<int>(length), 0);
}

int RowsWidth(const ReportLayout& layout) {
    return static_cast<int>(layout.rows.right - layout.rows.left);
}

void PlaceColumns(std::span<const ReportColumnSize> columns, int contentWidth, ReportLayout& layout) {
    const int spare = std::max(RowsWidth(layout) - contentWidth, 0);
    int left = 0;
    bool stretches = false;
    for (const ReportColumnSize& column : columns) {
        const bool takesSpare = column.stretch && !stretches;
        stretches = stretches || column.stretch;
        const int right = left + column.width + (takesSpare ? spare : 0);
        layout.columns.push_back({left, right});
        left = right;
    }
    layout.contentWidth = left;
    layout.filled = stretches && left == RowsWidth(layout);
}

int DividerAt(const ReportLayout& layout, int reach, int x) {
    int found = -1;
    int nearest = reach;
    const int count = static_cast<int>(layout.columns.size()) - (layout.filled ? 1 : 0);
    for (int i = 0; i < count; ++i) {
        const int distance = std::abs(layout.columns[static_cast<std::size_t>(i)].end - x);
        if (distance > nearest) continue;
        nearest = distance;
        found = i;
    }
    return found;
}

int ColumnAt(const ReportLayout& layout, int x) {
    for (std::size_t i = 0; i < layout.columns.size(); ++i)
        if (x >= layout.columns[i].begin && x < layout.columns[i].end) return static_cast<int>(i);
    return -1;
}

}  // namespace

ReportLayout LayOutReport(std::span<const ReportColumnSize> columns, SIZE client, int rowCount,
                          const ReportMetrics& metrics) {
    int contentWidth = 0;
    for (const ReportColumnSize& column : columns)
        contentWidth += column.width;
    const std::int64_t rowsHeight = std::int64_t{rowCount} * metrics.rowHeight;
    const LONG roomBelowHeader = client.cy - metrics.headerHeight;
    bool vertical = rowsHeight > roomBelowHeader;
    const bool horizontal = contentWidth > client.cx - (vertical ? metrics.scrollBar : 0);
    vertical = vertical || (horizontal && rowsHeight > roomBelowHeader - metrics.scrollBar);

    ReportLayout layout;
    const int width = AtLeastZero(client.cx - (vertical ? metrics.scrollBar : 0));
    const int height = AtLeastZero(roomBelowHeader - (horizontal ? metrics.scrollBar : 0));
    const int top = std::min<int>(metrics.headerHeight, AtLeastZero(client.cy));
    layout.header = {0, 0, client.cx, top};
    layout.rows = {0, top, width, top + height};
    if (vertical) layout.verticalBar = {width, top, client.cx, top + height};
    if (horizontal) layout.horizontalBar = {0, top + height, width, client.cy};
    layout.fullRows = std::max(height / metrics.rowHeight, 1);
    PlaceColumns(columns, contentWidth, layout);
    return layout;
}

ReportHit HitTestReport(const ReportLayout& layout, const ReportMetrics& metrics, ReportScroll scroll, int rowCount,
                        POINT point) {
    const int x = static_cast<int>(point.x) + scroll.offset;
    if (PtInRect(&layout.verticalBar, point)) return {ReportArea::VerticalBar};
    if (PtInRect(&layout.horizontalBar, point)) return {ReportArea::HorizontalBar};
    if (PtInRect(&layout.header, point)) {
        const int divider = DividerAt(layout, metrics.dividerReach, x);
        if (divider >= 0) return {ReportArea::Divider, -1, divider};
        return {ReportArea::Header, -1, ColumnAt(layout, x)};
    }
    if (!PtInRect(&layout.rows, point)) return {};
    const int row = scroll.topRow + static_cast<int>(point.y - layout.rows.top) / metrics.rowHeight;
    if (row >= rowCount) return {ReportArea::Space};
    return {ReportArea::Row, row, ColumnAt(layout, x)};
}

RECT ReportRowRect(const ReportLayout& layout, const ReportMetrics& metrics, ReportScroll scroll, int row) {
    const LONG top = layout.rows.top + (row - scroll.topRow) * metrics.rowHeight;
    return {layout.rows.left, top, layout.rows.right, top + metrics.rowHeight};
}

RECT ReportCellRect(const ReportLayout& layout, const ReportMetrics& metrics, ReportScroll scroll, int row, int column) {
    RECT rect = ReportRowRect(layout, metrics, scroll, row);
    const ReportSpan span = layout.columns[static_cast<std::size_t>(column)];
    rect.left = span.begin - scroll.offset;
    rect.right = span.end - scroll.offset;
    return rect;
}

ReportSpan VisibleReportRows(const ReportLayout& layout, const ReportMetrics& metrics, ReportScroll scroll, int rowCount) {
    const int height = static_cast<int>(layout.rows.bottom - layout.rows.top);
    const int begun = (height + metrics.rowHeight - 1) / metrics.rowHeight;
    return {scroll.topRow, std::max(scroll.topRow, std::min(rowCount, scroll.topRow + begun))};
}

ReportSpan VisibleReportColumns(const ReportLayout& layout, ReportScroll scroll) {
    const int count = static_cast<int>(layout.columns.size());
    const auto column = [&layout](int i) { return layout.columns[static_cast<std::size_t>(i)]; };
    ReportSpan visible;
    while (visible.begin < count && column(visible.begin).end <= scroll.offset)
        ++visible.begin;
    visible.end = visible.begin;
    while (visible.end < count && column(visible.end).begin < scroll.offset + RowsWidth(layout))
        ++visible.end;
    return visible;
}

ReportScroll ClampReportScroll(const ReportLayout& layout, int rowCount, ReportScroll scroll) {
    const int lastTop = std::max(rowCount - layout.fullRows, 0);
    const int lastOffset = std::max(layout.contentWidth - RowsWidth(layout), 0);
    return {std::clamp(scroll.topRow, 0, lastTop), std::clamp(scroll.offset, 0, lastOffset)};
}

ReportScroll ReportScrollToRow(const ReportLayout& layout, ReportScroll scroll, int row) {
    if (row < scroll.topRow) return {row, scroll.offset};
    return {std::max(scroll.topRow, row - layout.fullRows + 1), scroll.offset};
}

std::vector<ReportColumnSize> MoveReportDivider(std::span<const ReportColumnSize> columns, const ReportLayout& layout,
                                                int column, int distance) {
    std::vector<ReportColumnSize> moved(columns.begin(), columns.end());
    const auto index = static_cast<std::size_t>(column);
    const std::size_t next = index + 1;
    ReportColumnSize& left = moved[index];
    const int leftShown = layout.columns[index].Length();
    const bool stretchesBefore =
        std::any_of(columns.begin(), columns.begin() + column + 1, [](const ReportColumnSize& c) { return c.stretch; });
    if (!layout.filled || !stretchesBefore || next == moved.size()) {
        left.width = std::max(left.minWidth, leftShown + distance);
        return moved;
    }
    ReportColumnSize& right = moved[next];
    const int lowest = std::min(left.minWidth - leftShown, 0);
    const int by = std::clamp(distance, lowest, std::max(right.width - right.minWidth, 0));
    right.width -= by;
    // Only the first column that stretches takes the room that is left.
    const auto first = std::find_if(columns.begin(), columns.end(), [](const ReportColumnSize& c) { return c.stretch; });
    const bool takesSpare = first == columns.begin() + column;
    left.width = takesSpare ? std::min(left.width, leftShown + by) : leftShown + by;
    return moved;
}

std::optional<int> ReportRowForKey(WPARAM key, int focusedRow, int rowCount, int fullRows) {
    const int page = std::max(fullRows - 1, 1);
    const int from = std::max(focusedRow, 0);
    int row = 0;
    switch (key) {
        case VK_UP:
            row = from - 1;
            break;
        case VK_DOWN:
            row = focusedRow + 1;
            break;
        case VK_PRIOR:
            row = from - page;
            break;
        case VK_NEXT:
            row = from + page;
            break;
        case VK_HOME:
            row = 0;
            break;
        case VK_END:
            row = rowCount - 1;
            break;
        default:
            return std::nullopt;
    }
    if (rowCount == 0) return std::nullopt;
    return std::clamp(row, 0, rowCount - 1);
}

ReportSpan ReportThumb(const ReportScrollRange& range, int track, int minThumb) {
    if (range.total <= range.page || track <= 0) return {0, std::max(track, 0)};
    const auto share = static_cast<int>(std::int64_t{track} * range.page / range.total);
    const int length = std::min(std::max(share, minThumb), track);
    const auto begin = static_cast<int>(std::int64_t{track - length} * range.position / (range.total - range.page));
    return {begin, begin + length};
}

int ReportPositionForThumb(const ReportScrollRange& range, int track, int minThumb, int thumbBegin) {
    const int room = track - ReportThumb(range, track, minThumb).Length();
    if (room <= 0) return 0;
    const std::int64_t begin = std::clamp(thumbBegin, 0, room);
    return static_cast<int>((begin * (range.total - range.page) + room / 2) / room);
}

int ReportWheel::Take(int delta, int stepsPerNotch) {
    if ((delta < 0) != (remainder < 0)) remainder = 0;
    remainder += delta * stepsPerNotch;
    const int steps = remainder / WHEEL_DELTA;
    remainder -= steps * WHEEL_DELTA;
    return steps;
}
