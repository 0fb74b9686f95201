#pragma once
#include <windows.h>

#include <commctrl.h>

// The codes that a report control notifies its parent with.
constexpr UINT kReportFocusedRowChanged = NM_FIRST - 52;
constexpr UINT kReportDoubleClick = NM_DBLCLK;
constexpr UINT kReportRightClick = NM_RCLICK;  // a result other than 0 suppresses WM_CONTEXTMENU

// What lParam of its WM_NOTIFY points to. For the change of the focused row, row is the new one and column is -1.
struct ReportNotification {
    NMHDR header;
    int row;
    int column;
    POINT point;  // client coordinates of the mouse notifications
};
