#include "toolkit/report/ReportLayout.h"

#include <gtest/gtest.h>

#include "toolkit/report/ReportText.h"

namespace {

// Three columns, the middle one stretching, over rows of 10 pixels below a header of 20.
const std::vector<ReportColumnSize> kColumns = {{50, 20, false}, {100, 40, true}, {50, 30, false}};
const ReportMetrics kMetrics = {20, 10, 8, 12, 3, 4};

std::vector<int> Widths(const ReportLayout& layout) {
    std::vector<int> widths;
    for (const ReportSpan& column : layout.columns)
        widths.push_back(column.Length());
    return widths;
}

TEST(ReportLayout, StretchesAndShowsScrollBarsWhereNeeded) {
    struct Case {
        SIZE client;
        int rowCount;
        std::vector<int> widths;
        bool vertical;
        bool horizontal;
        int fullRows;
    };
    const Case cases[] = {
        {{300, 120}, 10, {50, 200, 50}, false, false, 10},  // the rows fit exactly
        {{300, 120}, 11, {50, 192, 50}, true, false, 10},   // the bar takes its room from the stretching column
        {{200, 120}, 10, {50, 100, 50}, false, false, 10},  // the columns fit exactly
        {{199, 120}, 9, {50, 100, 50}, false, true, 9},
        {{199, 120}, 10, {50, 100, 50}, true, true, 9},  // the horizontal bar hides the last row
        {{204, 120}, 11, {50, 100, 50}, true, true, 9},  // the vertical bar makes the columns too wide
        {{300, 10}, 3, {50, 192, 50}, true, false, 1},   // not even the header fits
        {{0, 0}, 0, {50, 100, 50}, true, true, 1},
        {{300, 120}, 2'000'000'000, {50, 192, 50}, true, false, 10},  // more pixels than an int holds
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.client.cx << "x" << c.client.cy << " with " << c.rowCount);
        const ReportLayout layout = LayOutReport(kColumns, c.client, c.rowCount, kMetrics);
        EXPECT_EQ(Widths(layout), c.widths);
        EXPECT_EQ(layout.verticalBar.right > layout.verticalBar.left, c.vertical && c.client.cx > 0);
        EXPECT_EQ(layout.horizontalBar.bottom > layout.horizontalBar.top, c.horizontal && c.client.cy > 0);
        EXPECT_EQ(layout.fullRows, c.fullRows);
        EXPECT_LE(layout.rows.left, layout.rows.right);
        EXPECT_LE(layout.rows.top, layout.rows.bottom);
    }
}

TEST(ReportLayout, FindsWhatIsUnderAPoint) {
    struct Case {
        POINT point;
        ReportHit hit;
    };
    // 142 pixels of 200 can be seen, scrolled by 30: dividers at 20, 120 and 170; rows 5 to 12.
    const ReportLayout layout = LayOutReport(kColumns, {150, 108}, 100, kMetrics);
    const ReportScroll scroll = {5, 30};
    const Case cases[] = {
        {{10, 5}, {ReportArea::Header, -1, 0}},
        {{16, 5}, {ReportArea::Divider, -1, 0}},
        {{24, 5}, {ReportArea::Divider, -1, 0}},
        {{25, 5}, {ReportArea::Header, -1, 1}},
        {{118, 19}, {ReportArea::Divider, -1, 1}},
        {{118, 20}, {ReportArea::Row, 5, 1}},
        {{5, 99}, {ReportArea::Row, 12, 0}},
        {{5, 100}, {ReportArea::HorizontalBar, -1, -1}},
        {{142, 50}, {ReportArea::VerticalBar, -1, -1}},
        {{145, 104}, {ReportArea::Nothing, -1, -1}},
        {{-1, 50}, {ReportArea::Nothing, -1, -1}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(HitTestReport(layout, kMetrics, scroll, 100, c.point), c.hit) << c.point.x << "," << c.point.y;

    // The right edge of columns that fill the width by stretching is no divider; below the last row nothing is hit.
    const ReportLayout filled = LayOutReport(kColumns, {300, 120}, 2, kMetrics);
    EXPECT_EQ(HitTestReport(filled, kMetrics, {}, 2, {299, 5}), (ReportHit{ReportArea::Header, -1, 2}));
    EXPECT_EQ(HitTestReport(filled, kMetrics, {}, 2, {10, 40}), (ReportHit{ReportArea::Space, -1, -1}));
}

TEST(ReportLayout, VisibleCellsIncludePartlyVisibleOnes) {
    const ReportLayout layout = LayOutReport(kColumns, {108, 73}, 100, kMetrics);  // rows 100 wide, 45 high
    EXPECT_EQ(VisibleReportRows(layout, kMetrics, {0, 0}, 100), (ReportSpan{0, 5}));
    EXPECT_EQ(VisibleReportRows(layout, kMetrics, {96, 0}, 100), (ReportSpan{96, 100}));
    EXPECT_EQ(VisibleReportColumns(layout, {0, 0}), (ReportSpan{0, 2}));
    EXPECT_EQ(VisibleReportColumns(layout, {0, 49}), (ReportSpan{0, 2}));
    EXPECT_EQ(VisibleReportColumns(layout, {0, 50}), (ReportSpan{1, 2}));
    EXPECT_EQ(VisibleReportColumns(layout, {0, 51}), (ReportSpan{1, 3}));

    EXPECT_EQ(ClampReportScroll(layout, 100, {1000, 1000}), (ReportScroll{96, 100}));
    EXPECT_EQ(ClampReportScroll(layout, 3, {2, -5}), (ReportScroll{0, 0}));
    EXPECT_EQ(ReportScrollToRow(layout, {10, 7}, 3), (ReportScroll{3, 7}));
    EXPECT_EQ(ReportScrollToRow(layout, {10, 7}, 13), (ReportScroll{10, 7}));
    EXPECT_EQ(ReportScrollToRow(layout, {10, 7}, 14), (ReportScroll{11, 7}));  // the fifth row is visible in part only
}

TEST(ReportLayout, DividersFollowThePointer) {
    struct Case {
        int clientWidth;
        int column;
        int distance;
        std::vector<int> shown;  // afterwards
    };
    const Case cases[] = {
        {300, 0, 25, {75, 175, 50}},    // the stretching column right of it gives way
        {300, 0, -100, {20, 230, 50}},  // the least width
        {300, 0, 130, {180, 100, 50}},  // more than the stretching column can give: wider than the window
        {300, 1, 15, {50, 215, 35}},    // right of the stretching column the next one gives
        {300, 1, 90, {50, 220, 30}},   {300, 1, -120, {50, 80, 170}},  // the stretching column below its own width
        {300, 1, -500, {50, 40, 210}},                                 // its least width
        {150, 1, 30, {50, 130, 50}},                                   // nothing stretches: a plain change
        {150, 2, -500, {50, 100, 30}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.clientWidth << ": " << c.column << " by " << c.distance);
        const ReportLayout before = LayOutReport(kColumns, {c.clientWidth, 120}, 1, kMetrics);
        const std::vector<ReportColumnSize> moved = MoveReportDivider(kColumns, before, c.column, c.distance);
        const ReportLayout after = LayOutReport(moved, {c.clientWidth, 120}, 1, kMetrics);
        EXPECT_EQ(Widths(after), c.shown);
    }
}

// Only the first of them takes the spare room, the other is one like the rest.
TEST(ReportLayout, TheDividerRightOfASecondStretchingColumnFollowsThePointer) {
    const std::vector<ReportColumnSize> columns = {{100, 40, true}, {80, 30, true}, {50, 20, false}};
    const ReportLayout before = LayOutReport(columns, {300, 120}, 1, kMetrics);
    const auto moved = [&](int distance) {
        return Widths(LayOutReport(MoveReportDivider(columns, before, 1, distance), {300, 120}, 1, kMetrics));
    };
    EXPECT_EQ(moved(20), (std::vector{170, 100, 30}));
    EXPECT_EQ(moved(-500), (std::vector{170, 30, 100}));
}

TEST(ReportLayout, KeysMoveWithinTheRows) {
    struct Case {
        WPARAM key;
        int from;
        int rowCount;
        std::optional<int> to;
    };
    const Case cases[] = {
        {VK_DOWN, -1, 20, 0}, {VK_UP, -1, 20, 0},  {VK_DOWN, 3, 20, 4},           {VK_DOWN, 19, 20, 19},
        {VK_UP, 0, 20, 0},    {VK_NEXT, 3, 20, 7}, {VK_NEXT, 18, 20, 19},         {VK_PRIOR, 3, 20, 0},
        {VK_END, 3, 20, 19},  {VK_HOME, 3, 20, 0}, {VK_END, -1, 0, std::nullopt}, {VK_RETURN, 3, 20, std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ReportRowForKey(c.key, c.from, c.rowCount, 5), c.to) << c.key << " from " << c.from;
}

TEST(ReportScrollRange, ThumbAndPositionAgree) {
    const ReportScrollRange small = {20, 10, 5};
    EXPECT_EQ(ReportThumb(small, 100, 12), (ReportSpan{25, 75}));
    EXPECT_EQ(ReportThumb({20, 20, 0}, 100, 12), (ReportSpan{0, 100}));
    EXPECT_EQ(ReportThumb({100'000, 10, 99'990}, 100, 12), (ReportSpan{88, 100}));  // the least thumb reaches the end
    EXPECT_EQ(ReportThumb({100'000, 10, 50}, 8, 12), (ReportSpan{0, 8}));           // a track shorter than the least thumb
    EXPECT_EQ(ReportPositionForThumb({100'000, 10, 0}, 100, 12, 88), 99'990);
    EXPECT_EQ(ReportPositionForThumb({100'000, 10, 0}, 100, 12, 500), 99'990);
    EXPECT_EQ(ReportPositionForThumb({100'000, 10, 7}, 100, 12, -3), 0);
    EXPECT_EQ(ReportPositionForThumb({100'000, 10, 7}, 8, 12, 3), 0);
    for (int position = 0; position <= 10; ++position) {
        const ReportSpan thumb = ReportThumb({20, 10, position}, 100, 12);
        EXPECT_EQ(ReportPositionForThumb(small, 100, 12, thumb.begin), position);
    }
}

TEST(ReportWheel, CollectsFineMovements) {
    ReportWheel wheel;
    EXPECT_EQ(wheel.Take(120, 3), 3);
    EXPECT_EQ(wheel.Take(-30, 3), 0);
    EXPECT_EQ(wheel.Take(-30, 3), -1);
    EXPECT_EQ(wheel.Take(-20, 3), -1);  // 60 kept and 60 more
    EXPECT_EQ(wheel.Take(-30, 3), 0);
    EXPECT_EQ(wheel.Take(40, 3), 1);  // the other way: the rest does not count
}

TEST(ReportColor, OwnColorsStayReadable) {
    const COLORREF red = RGB(0xC0, 0, 0);
    const COLORREF white = RGB(255, 255, 255);
    const COLORREF blue = RGB(0, 0x7A, 0xCC);
    EXPECT_EQ(ReadableReportColor(red, white, 0), red);
    const COLORREF onBlue = ReadableReportColor(red, blue, white);
    EXPECT_NE(onBlue, red);
    EXPECT_NE(onBlue, white);
    EXPECT_GT(GetRValue(onBlue), GetGValue(onBlue));  // still reddish
    EXPECT_EQ(ReadableReportColor(blue, blue, blue), blue);
}

}  // namespace
