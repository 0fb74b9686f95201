#include "dialogs/ReportGPUs.h"

#include "dialogs/SystemText.h"
#include "gui/Colors.h"

void CRecordGPUs::GetItemMetrics(int row, int column, ReportItemMetrics& metrics) {
    GridCell cell = GpuCell(m_source(), static_cast<std::size_t>(row), static_cast<std::size_t>(column));
    metrics.text = std::move(cell.text);
    metrics.textColor = cell.textColor;
    // The red of the light looks cannot be read on a dark row.
    if (cell.textColor == kRed) metrics.textColor = m_paint.GetColor(ThemeColor::Error);
}

CReportGPUs::CReportGPUs(CXTPPaintManager& paint, CRecordGPUs::SourceFunction source)
    : CXTPReportControl(paint), m_record(m_heap.Make<CRecordGPUs>(std::move(source), paint)) {}

CReportGPUs::~CReportGPUs() {
    m_heap.Destroy(m_record);
}

void CReportGPUs::SetUpColumns() {
    for (const GridColumn& column : kGpuColumns) {
        const auto alignment = column.align == GridAlign::Right ? ReportAlignment::Right : ReportAlignment::Left;
        AddColumn({static_cast<int>(column.column), LoadText(column.headerId), column.width, column.minWidth, alignment,
                   column.stretches});
    }
    SetEmptyText(LoadText(kEmptyGridTextId));
}

void CReportGPUs::Populate(int rows) {
    ResetState();
    SetVirtualMode(m_record, rows);
    RedrawAll();
}
