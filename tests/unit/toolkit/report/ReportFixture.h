#pragma once
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "toolkit/report/ReportControl.h"
#include "toolkit/report/ReportNotification.h"

// Cells "row.column" whose texts can be replaced, and that remembers being asked.
class ReportTestRecord : public CXTPReportRecord {
  public:
    void GetItemMetrics(int row, int column, ReportItemMetrics& metrics) override {
        ++asked;
        EXPECT_TRUE(metrics.text.empty());
        EXPECT_FALSE(metrics.textColor.has_value());
        metrics.text = std::to_wstring(row) + L"." + std::to_wstring(column) + (row == changedRow ? changed : L"");
        if (row == redRow) metrics.textColor = RGB(255, 0, 0);
    }

    int asked = 0;
    int changedRow = -1;
    int redRow = -1;
    std::wstring changed;
};

struct ReportTestEvent {
    UINT code;
    int row;
    int column;

    bool operator==(const ReportTestEvent&) const = default;
};

// A parent window that records the control's notifications, and the control in it: ID (40, item 7), Name (100, stretching,
// item 3) and Value (60, right-aligned, item 5).
class ReportControl : public testing::Test {
  protected:
    void SetUp() override {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = &ReportControl::Procedure;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = L"ReportTestParent";
        RegisterClassW(&windowClass);
        m_parent = CreateWindowExW(WS_EX_NOACTIVATE, windowClass.lpszClassName, L"", WS_POPUP | WS_VISIBLE, 0, 0, 400, 300,
                                   nullptr, nullptr, windowClass.hInstance, nullptr);
        SetWindowLongPtrW(m_parent, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        m_report.AddColumn({7, L"ID", 40, 20});
        m_report.AddColumn({3, L"Name", 100, 30, ReportAlignment::Left, true});
        m_report.AddColumn({5, L"Value", 60, 30, ReportAlignment::Right});
        ASSERT_TRUE(m_report.Create(m_parent, 42, {0, 0, 300, 200}, WS_CHILD | WS_VISIBLE));
        UpdateWindow(m_report.Handle());
    }
    void TearDown() override { DestroyWindow(m_parent); }

    void ShowRows(int count) {
        m_report.SetVirtualMode(&m_record, count);
        UpdateWindow(m_report.Handle());
        m_events.clear();
    }
    LRESULT Send(UINT message, WPARAM wParam, LPARAM lParam) {
        return SendMessageW(m_report.Handle(), message, wParam, lParam);
    }
    void Key(WPARAM key) { Send(WM_KEYDOWN, key, 0); }
    void Mouse(UINT message, int x, int y) { Send(message, 0, MAKELPARAM(x, y)); }
    void Wheel(int delta, bool shift = false) { Send(WM_MOUSEWHEEL, MAKEWPARAM(shift ? MK_SHIFT : 0, delta), 0); }
    void Drag(POINT from, POINT to) {
        Mouse(WM_LBUTTONDOWN, static_cast<int>(from.x), static_cast<int>(from.y));
        Mouse(WM_MOUSEMOVE, static_cast<int>(to.x), static_cast<int>(to.y));
        Mouse(WM_LBUTTONUP, static_cast<int>(to.x), static_cast<int>(to.y));
    }
    // How many cells one refresh draws.
    std::uint64_t DrawnByRefresh() {
        const std::uint64_t before = m_report.DrawnCells();
        m_report.Refresh();
        UpdateWindow(m_report.Handle());
        return m_report.DrawnCells() - before;
    }
    // The row at a height, and the first line of pixels of a row, found as a user would: by clicking.
    int RowAtY(int y) {
        m_report.SetFocusedRow(-1);
        Mouse(WM_LBUTTONDOWN, 5, y);
        Mouse(WM_LBUTTONUP, 5, y);
        return m_report.FocusedRow();
    }
    int YOfRow(int row) {
        for (int y = 0; y < 200; ++y)
            if (RowAtY(y) == row) return y;
        ADD_FAILURE() << "row " << row << " cannot be clicked";
        return 0;
    }
    int FullRows() {
        m_report.SetFocusedRow(0);
        Key(VK_NEXT);
        const int rows = m_report.FocusedRow() + 1;
        m_report.ResetState();
        return rows;
    }

    CXTPPaintManager m_paintManager;
    ReportTestRecord m_record;
    CXTPReportControl m_report{m_paintManager};
    HWND m_parent = nullptr;
    std::vector<ReportTestEvent> m_events;

  private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        auto* self = reinterpret_cast<ReportControl*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (message == WM_NOTIFY && self != nullptr) {
            const auto* notification = reinterpret_cast<const ReportNotification*>(lParam);
            EXPECT_EQ(notification->header.hwndFrom, self->m_report.Handle());
            EXPECT_EQ(notification->header.idFrom, wParam);
            EXPECT_EQ(wParam, 42U);
            self->m_events.push_back({notification->header.code, notification->row, notification->column});
        }
        return DefWindowProcW(window, message, wParam, lParam);
    }
};
