#include "dialogs/ReportGPUs.h"

#include "dialogs/SystemText.h"
#include "gui/Colors.h"

namespace {

// Windows 2000 and older have no such function.
void UseLowFragmentation(HANDLE heap) {
    using Function = BOOL(WINAPI*)(HANDLE, HEAP_INFORMATION_CLASS, PVOID, SIZE_T);
    const HMODULE kernel = GetModuleHandleW(L"KERNEL32.DLL");
    if (kernel == nullptr) return;
    const auto set = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(kernel, "HeapSetInformation")));
    ULONG lowFragmentation = 2;
    if (set != nullptr) set(heap, HeapCompatibilityInformation, &lowFragmentation, sizeof(lowFragmentation));
}

}  // namespace

CPrivateHeap::CPrivateHeap() : m_heap(HeapCreate(0, 0, 0)) {
    if (m_heap == nullptr) throw std::bad_alloc();
    UseLowFragmentation(m_heap);
}

void* CPrivateHeap::Allocate(std::size_t size) {
    void* const memory = HeapAlloc(m_heap, 0, size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void CRecordGPUs::GetItemMetrics(int row, int column, ReportItemMetrics& metrics) {
    GridCell cell = GpuCell(m_source(), static_cast<std::size_t>(row), static_cast<std::size_t>(column));
    metrics.text = std::move(cell.text);
    metrics.tip = std::move(cell.tip);
    // The red of the light looks cannot be read on a dark row.
    if (cell.mark == CellMark::Problem) metrics.textColor = m_paint.GetColor(ThemeColor::Error);
    if (cell.mark == CellMark::Warning) metrics.textColor = NoteColor(false, m_paint.GetColor(ThemeColor::RowFace));
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
