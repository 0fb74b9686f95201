#pragma once
#include <string>
#include <utility>

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
