#pragma once
#include <windows.h>
#include <functional>
#include <new>
#include <utility>
#include "gui/GpuGrid.h"
#include "toolkit/report/ReportControl.h"

// A heap of its own for many small objects of one kind. One thread.
class CPrivateHeap {
  public:
    CPrivateHeap();  // throws std::bad_alloc
    ~CPrivateHeap() { HeapDestroy(m_heap); }
    CPrivateHeap(const CPrivateHeap&) = delete;
    CPrivateHeap& operator=(const CPrivateHeap&) = delete;

    template <typename T, typename... Arguments>
    T* Make(Arguments&&... arguments) {
        void* const memory = Allocate(sizeof(T));
        return new (memory) T(std::forward<Arguments>(arguments)...);
    }
    template <typename T>
    void Destroy(T* object) {
        if (object == nullptr) return;
        object->~T();
        HeapFree(m_heap, 0, object);
    }

  private:
    void* Allocate(std::size_t size);

    HANDLE m_heap;
};

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
