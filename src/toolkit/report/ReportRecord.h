#pragma once
#include <windows.h>
#include <optional>
#include <string>
#include <utility>

// What a cell shows.
struct ReportItemMetrics {
    std::wstring text;
    std::optional<COLORREF> textColor;  // the row's colour where there is none
    std::wstring tip;                   // shown over the cell; empty: the text, where it is cut
};

// The source of a grid's cells. In virtual mode one record stands for all rows.
class CXTPReportRecord {
  public:
    virtual ~CXTPReportRecord() = default;

    // Called on the GUI thread whenever a cell is drawn, compared or copied; column is the column's item index. The metrics
    // arrive empty. Must not change the control.
    virtual void GetItemMetrics(int row, int column, ReportItemMetrics& metrics) = 0;
};

// One row of a grid: its index and the record that knows its cells. A value; valid as long as the record.
class CXTPReportRow {
  public:
    CXTPReportRow(CXTPReportRecord* record, int index) : m_record(record), m_index(index) {}

    int Index() const { return m_index; }
    // Reuses the metrics' text storage. Empty without a record.
    void GetItemMetrics(int itemIndex, ReportItemMetrics& metrics) const {
        metrics.text.clear();
        metrics.textColor.reset();
        metrics.tip.clear();
        if (m_record != nullptr) m_record->GetItemMetrics(m_index, itemIndex, metrics);
    }

  private:
    CXTPReportRecord* m_record;
    int m_index;
};

enum class ReportAlignment { Left, Center, Right };

// How a column is set up; what the user makes of its width is the control's matter. Widths in pixels at 96 dpi.
class CXTPReportColumn {
  public:
    CXTPReportColumn(int itemIndex, std::wstring caption, int width, int minWidth,
                     ReportAlignment alignment = ReportAlignment::Left, bool stretch = false)
        : m_caption(std::move(caption)),
          m_itemIndex(itemIndex),
          m_width(width),
          m_minWidth(minWidth),
          m_alignment(alignment),
          m_stretch(stretch) {}

    const std::wstring& Caption() const { return m_caption; }
    // The number by which the record knows the column.
    int ItemIndex() const { return m_itemIndex; }
    int Width() const { return m_width; }
    int MinWidth() const { return m_minWidth; }
    ReportAlignment Alignment() const { return m_alignment; }
    bool Stretch() const { return m_stretch; }

  private:
    std::wstring m_caption;
    int m_itemIndex;
    int m_width;
    int m_minWidth;
    ReportAlignment m_alignment;
    bool m_stretch;
};
