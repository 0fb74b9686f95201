#pragma once
#include <windows.h>
#include <optional>
#include <span>
#include <vector>

// Where things lie in a report control. Pure functions over plain values; all lengths in pixels.

// At most one column of a grid stretches: it takes the room that the others leave, and is never narrower than its width.
struct ReportColumnSize {
    int width = 0;
    int minWidth = 0;
    bool stretch = false;
};

// Lengths that follow from the font and the resolution.
struct ReportMetrics {
    int headerHeight = 1;
    int rowHeight = 1;
    int scrollBar = 0;
    int minThumb = 0;
    int padding = 0;       // left and right of a cell's text
    int dividerReach = 0;  // how far beside a divider it can still be gripped
};

struct ReportSpan {
    int begin = 0;
    int end = 0;

    int Length() const { return end - begin; }
    bool operator==(const ReportSpan&) const = default;
};

struct ReportScroll {
    int topRow = 0;
    int offset = 0;  // horizontal

    bool operator==(const ReportScroll&) const = default;
};

// Rectangles in client coordinates. A scroll bar that is not needed has an empty one.
struct ReportLayout {
    std::vector<ReportSpan> columns;  // before horizontal scrolling
    int contentWidth = 0;
    bool filled = false;  // the stretching column makes the columns end at the right edge of the rows
    int fullRows = 1;     // rows that are visible as a whole, at least 1
    RECT header = {};
    RECT rows = {};
    RECT verticalBar = {};
    RECT horizontalBar = {};
};

enum class ReportArea { Nothing, Header, Divider, Row, Space, VerticalBar, HorizontalBar };

// column is the one under the point, or the one whose right edge the divider is; -1 where there is none.
struct ReportHit {
    ReportArea area = ReportArea::Nothing;
    int row = -1;
    int column = -1;

    bool operator==(const ReportHit&) const = default;
};

ReportLayout LayOutReport(std::span<const ReportColumnSize> columns, SIZE client, int rowCount,
                          const ReportMetrics& metrics);
ReportHit HitTestReport(const ReportLayout& layout, const ReportMetrics& metrics, ReportScroll scroll, int rowCount,
                        POINT point);

// Rectangles that may reach over the edges of the rows' area.
RECT ReportRowRect(const ReportLayout& layout, const ReportMetrics& metrics, ReportScroll scroll, int row);
RECT ReportCellRect(const ReportLayout& layout, const ReportMetrics& metrics, ReportScroll scroll, int row, int column);

// Rows and columns of which a part can be seen; end is one past the last.
ReportSpan VisibleReportRows(const ReportLayout& layout, const ReportMetrics& metrics, ReportScroll scroll, int rowCount);
ReportSpan VisibleReportColumns(const ReportLayout& layout, ReportScroll scroll);

ReportScroll ClampReportScroll(const ReportLayout& layout, int rowCount, ReportScroll scroll);
// The nearest scroll position that shows the row as a whole.
ReportScroll ReportScrollToRow(const ReportLayout& layout, ReportScroll scroll, int row);

// The columns after the divider right of a column was moved by so many pixels, counted from the given state. The divider
// follows the pointer: where the stretching column lies left of it, the next column gives or takes the width.
std::vector<ReportColumnSize> MoveReportDivider(std::span<const ReportColumnSize> columns, const ReportLayout& layout,
                                                int column, int distance);

// The row that a navigation key (VK_UP, VK_HOME, ...) leads to from the focused one (-1: none); nothing for other keys.
std::optional<int> ReportRowForKey(WPARAM key, int focusedRow, int rowCount, int fullRows);

// A scroll bar's state, in rows or pixels.
struct ReportScrollRange {
    int total = 0;
    int page = 0;
    int position = 0;

    bool operator==(const ReportScrollRange&) const = default;
};

// The thumb within a track of the given length, and the position for a thumb dragged so that it begins there.
ReportSpan ReportThumb(const ReportScrollRange& range, int track, int minThumb);
int ReportPositionForThumb(const ReportScrollRange& range, int track, int minThumb, int thumbBegin);

// Collects wheel movements: fine wheels send less than a notch at a time.
struct ReportWheel {
    int remainder = 0;

    // Whole steps for a movement, at so many steps a notch; the rest is kept unless the direction turns.
    int Take(int delta, int stepsPerNotch);
};
