#include "toolkit/report/ReportControl.h"

#include <algorithm>
#include <future>
#include <thread>

#include "ReportFixture.h"

namespace {

constexpr UINT kChanged = NM_FIRST - 52;

TEST_F(ReportControl, RefreshDrawsOnlyCellsThatDiffer) {
    ShowRows(5);
    EXPECT_EQ(DrawnByRefresh(), 0U);
    m_record.changedRow = 2;
    m_record.changed = L"!";
    EXPECT_EQ(DrawnByRefresh(), 3U);
    EXPECT_EQ(DrawnByRefresh(), 0U);
    m_record.redRow = 4;  // the same texts in another colour
    EXPECT_EQ(DrawnByRefresh(), 3U);
    m_record.changedRow = -1;
    m_record.redRow = 0;
    EXPECT_EQ(DrawnByRefresh(), 9U);  // rows 0, 2 and 4
}

TEST_F(ReportControl, ACellDrawnInPartWithANewTextIsDrawnWhole) {
    ShowRows(5);
    const int top = YOfRow(1);
    UpdateWindow(m_report.Handle());
    m_record.changedRow = 1;
    m_record.changed = L"!";
    const RECT corner = {0, top, 5, top + 2};
    InvalidateRect(m_report.Handle(), &corner, FALSE);
    const std::uint64_t before = m_report.DrawnCells();
    UpdateWindow(m_report.Handle());  // the corner
    RECT update = {};
    ASSERT_TRUE(GetUpdateRect(m_report.Handle(), &update, FALSE));
    EXPECT_EQ(update.right, 40);
    UpdateWindow(m_report.Handle());
    EXPECT_EQ(m_report.DrawnCells() - before, 2U);
    EXPECT_FALSE(GetUpdateRect(m_report.Handle(), &update, FALSE));
}

TEST_F(ReportControl, DrawsOnlyWhatCanBeSeen) {
    ShowRows(100'000);
    const auto visible = static_cast<std::uint64_t>(FullRows());
    m_record.asked = 0;
    const std::uint64_t before = m_report.DrawnCells();
    m_report.SetFocusedRow(99'999);
    UpdateWindow(m_report.Handle());
    EXPECT_LE(m_report.DrawnCells() - before, 3 * (visible + 1));
    EXPECT_LE(m_record.asked, static_cast<int>(3 * (visible + 1)));
    EXPECT_EQ(m_report.ScrollPosition().topRow, 100'000 - static_cast<int>(visible));
    EXPECT_EQ(DrawnByRefresh(), 0U);
}

TEST_F(ReportControl, KeysMoveTheFocusedRowAndNotifyOnce) {
    ShowRows(100);
    Key(VK_DOWN);
    Key(VK_DOWN);
    Key(VK_UP);
    Key(VK_UP);  // at the first row already
    EXPECT_EQ(m_events, (std::vector<ReportTestEvent>{{kChanged, 0, -1}, {kChanged, 1, -1}, {kChanged, 0, -1}}));
    Key(VK_END);
    EXPECT_EQ(m_report.FocusedRow(), 99);
    EXPECT_GT(m_report.ScrollPosition().topRow, 80);
    Key(VK_HOME);
    EXPECT_EQ(m_report.ScrollPosition().topRow, 0);
    m_events.clear();
    Key(VK_RETURN);
    Key(VK_TAB);
    Key('A');
    EXPECT_TRUE(m_events.empty());
    EXPECT_EQ(Send(WM_GETDLGCODE, 0, 0), DLGC_WANTARROWS);
}

TEST_F(ReportControl, ClicksFocusAndNotify) {
    ShowRows(3);
    const int y = YOfRow(1);
    m_report.ResetState();
    m_events.clear();
    Mouse(WM_LBUTTONDOWN, 45, y);
    Mouse(WM_LBUTTONUP, 45, y);
    Mouse(WM_LBUTTONDBLCLK, 45, y);
    EXPECT_EQ(m_events, (std::vector<ReportTestEvent>{{kChanged, 1, -1}, {NM_DBLCLK, 1, 1}}));
    m_events.clear();
    Mouse(WM_LBUTTONDOWN, 45, 199);  // below the rows: the focused one stays
    EXPECT_EQ(m_report.FocusedRow(), 1);
    m_events.clear();
    const int above = y - 2;
    Mouse(WM_RBUTTONDOWN, 5, above);
    Mouse(WM_RBUTTONUP, 5, above);
    Mouse(WM_RBUTTONUP, 5, 199);
    EXPECT_EQ(m_events, (std::vector<ReportTestEvent>{{kChanged, 0, -1}, {NM_RCLICK, 0, 0}, {NM_RCLICK, -1, -1}}));
}

TEST_F(ReportControl, TheFocusedRowSurvivesFewerRows) {
    ShowRows(100);
    m_report.SetFocusedRow(90);
    m_events.clear();
    m_report.SetVirtualMode(&m_record, 95);
    EXPECT_TRUE(m_events.empty());
    m_report.SetVirtualMode(&m_record, 4);
    EXPECT_EQ(m_report.ScrollPosition().topRow, 0);
    m_report.SetVirtualMode(nullptr, 0);
    m_report.SetVirtualMode(&m_record, 4);
    EXPECT_EQ(m_events, (std::vector<ReportTestEvent>{{kChanged, 3, -1}, {kChanged, -1, -1}}));
    m_report.SetFocusedRow(4);  // no such row
    EXPECT_EQ(m_report.FocusedRow(), -1);
}

TEST_F(ReportControl, DividersResizeAndFitColumns) {
    ShowRows(3);
    ASSERT_EQ(m_report.ColumnWidth(1), 200);
    Drag({40, 5}, {70, 5});
    EXPECT_EQ(m_report.ColumnWidth(0), 70);
    EXPECT_EQ(m_report.ColumnWidth(1), 170);
    Drag({70, 5}, {0, 5});
    EXPECT_EQ(m_report.ColumnWidth(0), 20);
    Mouse(WM_MOUSEMOVE, 90, 5);  // released: nothing follows
    EXPECT_EQ(m_report.ColumnWidth(0), 20);

    m_record.changedRow = 1;
    m_record.changed = L" a long text in the first column";
    Mouse(WM_LBUTTONDBLCLK, 20, 5);
    const int fitted = m_report.ColumnWidth(0);
    EXPECT_GT(fitted, 80);
    m_record.changed.clear();
    Mouse(WM_LBUTTONDBLCLK, fitted, 5);
    EXPECT_LT(m_report.ColumnWidth(0), fitted);

    SetWindowPos(m_report.Handle(), nullptr, 0, 0, 390, 200, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    EXPECT_EQ(m_report.ColumnWidth(0) + m_report.ColumnWidth(1) + m_report.ColumnWidth(2), 390);
    EXPECT_EQ(m_report.ColumnWidth(2), 60);
}

TEST_F(ReportControl, TheWheelScrollsByTheSystemsLines) {
    ShowRows(100);
    UINT lines = 0;
    SystemParametersInfoW(SPI_GETWHEELSCROLLLINES, 0, &lines, 0);
    const int step = static_cast<int>(std::min(lines, static_cast<UINT>(FullRows())));
    Wheel(-120);
    EXPECT_EQ(m_report.ScrollPosition().topRow, step);
    for (int i = 0; i < 4; ++i)
        Wheel(-30);
    EXPECT_EQ(m_report.ScrollPosition().topRow, 2 * step);
    Wheel(120 * 50);
    EXPECT_EQ(m_report.ScrollPosition(), (ReportScroll{0, 0}));

    Wheel(-120, true);  // the columns fit
    EXPECT_EQ(m_report.ScrollPosition().offset, 0);
    SetWindowPos(m_report.Handle(), nullptr, 0, 0, 120, 200, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    Wheel(-120, true);
    EXPECT_GT(m_report.ScrollPosition().offset, 0);
    Key(VK_RIGHT);
    Wheel(-1200, true);
    EXPECT_EQ(m_report.ScrollPosition(), (ReportScroll{0, 200 - 120 + 10}));  // less the vertical bar's width
}

TEST_F(ReportControl, ScrollBarsDragAndPage) {
    ShowRows(100);
    const int rows = FullRows();
    Mouse(WM_LBUTTONDOWN, 295, 190);  // in the track below the thumb
    Mouse(WM_LBUTTONUP, 295, 190);
    EXPECT_EQ(m_report.ScrollPosition().topRow, rows);
    m_report.ScrollTo({0, 0});
    Drag({295, 30}, {295, 500});
    EXPECT_EQ(m_report.ScrollPosition().topRow, 100 - rows);
    Drag({295, 195}, {295, -500});
    EXPECT_EQ(m_report.ScrollPosition().topRow, 0);
    Mouse(WM_MOUSEMOVE, 295, 150);  // released
    EXPECT_EQ(m_report.ScrollPosition().topRow, 0);
    EXPECT_EQ(m_report.FocusedRow(), -1);
}

TEST_F(ReportControl, GivesItsContentsAsText) {
    EXPECT_EQ(m_report.Text(), L"ID\tName\tValue");
    ShowRows(2);
    const std::wstring whole = L"ID\tName\tValue\n0.7\t0.3\t0.5\n1.7\t1.3\t1.5";
    ASSERT_EQ(Send(WM_GETTEXTLENGTH, 0, 0), static_cast<LRESULT>(whole.size()));
    for (const std::size_t room : {std::size_t{100}, whole.size() + 1, whole.size(), std::size_t{20}, std::size_t{1}}) {
        std::wstring buffer(room, L'?');
        const LRESULT length = Send(WM_GETTEXT, room, reinterpret_cast<LPARAM>(buffer.data()));
        EXPECT_EQ(buffer.c_str(), whole.substr(0, room - 1));
        EXPECT_EQ(length, static_cast<LRESULT>(std::min(room - 1, whole.size())));
    }
    ReportTestRecord large;
    m_report.SetVirtualMode(&large, 100'000);
    large.asked = 0;
    wchar_t few[64] = {};
    Send(WM_GETTEXT, std::size(few), reinterpret_cast<LPARAM>(few));
    EXPECT_LT(large.asked, 100);  // no more than the buffer takes
    ShowRows(0);
}

TEST_F(ReportControl, CopiesTheFocusedRowAlsoWhileAnotherProgramLooksIntoTheClipboard) {
    ShowRows(3);
    m_report.SetFocusedRow(2);
    std::promise<bool> held;
    const std::jthread other([&] {
        held.set_value(OpenClipboard(nullptr) != FALSE);
        Sleep(50);
        CloseClipboard();
    });
    ASSERT_TRUE(held.get_future().get());
    BYTE keys[256] = {};
    keys[VK_CONTROL] = 0x80;
    SetKeyboardState(keys);
    Key('C');
    keys[VK_CONTROL] = 0;
    SetKeyboardState(keys);
    ASSERT_TRUE(OpenClipboard(m_parent));
    const HANDLE data = GetClipboardData(CF_UNICODETEXT);
    const auto* text = data != nullptr ? static_cast<const wchar_t*>(GlobalLock(data)) : nullptr;
    EXPECT_STREQ(text, L"2.7\t2.3\t2.5");
    if (text != nullptr) GlobalUnlock(data);
    CloseClipboard();
}

TEST_F(ReportControl, TheFontSetsTheRowHeight) {
    ShowRows(100);
    EXPECT_EQ(Send(WM_GETFONT, 0, 0), 0);
    const int rows = FullRows();
    const HFONT font = CreateFontW(-40, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"Tahoma");
    Send(WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
    EXPECT_EQ(reinterpret_cast<HFONT>(Send(WM_GETFONT, 0, 0)), font);
    EXPECT_LT(FullRows(), rows);
    Send(WM_SETFONT, 0, TRUE);
    DeleteObject(font);
    EXPECT_EQ(FullRows(), rows);
}

// The tip is an own window of the thread.
TEST_F(ReportControl, CutCellsShowTheirTextInATip) {
    const auto tip = [] { return FindWindowW(L"QuorvelTip", nullptr); };
    const auto hover = [this](int x, int y) {
        Mouse(WM_MOUSEMOVE, x, y);
        Send(WM_MOUSEHOVER, 0, MAKELPARAM(x, y));
    };
    m_record.changedRow = 1;
    m_record.changed = L" that is much too long for its column";
    ShowRows(3);
    const int whole = YOfRow(0);
    const int cut = YOfRow(1);
    hover(5, whole);
    EXPECT_EQ(tip(), nullptr);
    hover(5, cut);
    ASSERT_NE(tip(), nullptr);
    wchar_t text[100] = {};
    GetWindowTextW(tip(), text, 100);
    EXPECT_STREQ(text, L"1.7 that is much too long for its column");
    m_record.changed += L" and grows";
    m_report.Refresh();
    GetWindowTextW(tip(), text, 100);
    EXPECT_STREQ(text, L"1.7 that is much too long for its column and grows");
    Key(VK_DOWN);
    EXPECT_EQ(tip(), nullptr);
}

}  // namespace
