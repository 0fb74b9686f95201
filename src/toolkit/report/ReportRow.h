#pragma once
#include "toolkit/report/ReportRecord.h"

// One row of a grid: its index and the record that knows its cells. A value; valid as long as the record.
class CXTPReportRow {
  public:
    CXTPReportRow(CXTPReportRecord* record, int index) : m_record(record), m_index(index) {}

    int Index() const { return m_index; }
    // Reuses the metrics' text storage. Empty without a record.
    void GetItemMetrics(int itemIndex, ReportItemMetrics& metrics) const {
        metrics.text.clear();
        metrics.textColor.reset();
        if (m_record != nullptr) m_record->GetItemMetrics(m_index, itemIndex, metrics);
    }

  private:
    CXTPReportRecord* m_record;
    int m_index;
};
