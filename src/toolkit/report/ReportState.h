#pragma once
#include <string>
#include <vector>

#include "toolkit/report/ReportLayout.h"
#include "toolkit/report/ReportRecord.h"

// What a report control shows, for those who draw or copy it.
struct ReportState {
    std::vector<CXTPReportColumn> columns;
    std::vector<ReportColumnSize> sizes;  // of the columns, as the user has set them
    CXTPReportRecord* record = nullptr;
    int rowCount = 0;
    int focusedRow = -1;
    bool hasFocus = false;
    bool enabled = true;
    std::wstring emptyText;
    HFONT font = nullptr;  // not owned
    ReportMetrics metrics;
    ReportLayout layout;
    ReportScroll scroll;

    CXTPReportRow Row(int index) const { return {record, index}; }
    RECT RowRect(int row) const { return ReportRowRect(layout, metrics, scroll, row); }
    RECT CellRect(int row, int column) const { return ReportCellRect(layout, metrics, scroll, row, column); }
    ReportSpan VisibleRows() const { return VisibleReportRows(layout, metrics, scroll, rowCount); }
    // The row that shows where the keyboard is: without a focused one, the first.
    int CueRow() const { return focusedRow >= 0 ? focusedRow : scroll.topRow; }
};
