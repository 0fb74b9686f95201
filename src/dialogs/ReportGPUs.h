#pragma once
#include <functional>
#include "dialogs/PrivateHeap.h"
#include "gui/GpuGrid.h"
#include "toolkit/report/ReportControl.h"

// One record stands for all rows: it formats each cell when it is drawn.
class CRecordGPUs final : public CXTPReportRecord {
  public:
    using SourceFunction = std::function<GpuGridSource()>;

    CRecordGPUs(SourceFunction source, const CXTPPaintManager& paint) : m_source(std::move(source)), m_paint(paint) {}
    void GetItemMetrics(int row, int column, ReportItemMetrics& metrics) override;

  private:
    const SourceFunction m_source;
    const CXTPPaintManager& m_paint;
};

// The grid of the GPUs. GUI thread.
class CReportGPUs final : public CXTPReportControl {
  public:
    // source: called for every cell; what it refers to lives as long as the call.
    CReportGPUs(CXTPPaintManager& paint, CRecordGPUs::SourceFunction source);
    ~CReportGPUs() override;

    // Once, after Create: columns and the text of an empty list.
    void SetUpColumns();
    // Takes the number of rows anew; selection and scroll position are reset.
    void Populate(int rows);

  private:
    CPrivateHeap m_heap;
    CRecordGPUs* m_record;  // in the heap
};
