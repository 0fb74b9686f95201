#pragma once
#include <windows.h>
#include <optional>
#include <string>

// What a cell shows.
struct ReportItemMetrics {
    std::wstring text;
    std::optional<COLORREF> textColor;  // the row's colour where there is none
};

// The source of a grid's cells. In virtual mode one record stands for all rows.
class CXTPReportRecord {
  public:
    virtual ~CXTPReportRecord() = default;

    // Called on the GUI thread whenever a cell is drawn, compared or copied; column is the column's item index. The metrics
    // arrive empty. Must not change the control.
    virtual void GetItemMetrics(int row, int column, ReportItemMetrics& metrics) = 0;
};
