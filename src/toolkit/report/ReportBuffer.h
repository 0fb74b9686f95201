#pragma once
#include <windows.h>
#include <memory>
#include <type_traits>

struct ReportObjectDeleter {
    void operator()(HGDIOBJ object) const { DeleteObject(object); }
};
using ReportRegion = std::unique_ptr<std::remove_pointer_t<HRGN>, ReportObjectDeleter>;

// A bitmap to draw into, kept for the next time: one row of the grid, so that a large window costs little memory.
class CReportBuffer {
  public:
    CReportBuffer() = default;
    ~CReportBuffer();
    CReportBuffer(const CReportBuffer&) = delete;
    CReportBuffer& operator=(const CReportBuffer&) = delete;

    // A context at least this large, with the font selected; owned by the buffer.
    HDC Begin(HDC target, SIZE size, HFONT font);
    // Copies the buffer's top left part to the place.
    void CopyTo(HDC target, const RECT& place) const;

  private:
    void Free();

    HDC m_dc = nullptr;
    HBITMAP m_bitmap = nullptr;
    HGDIOBJ m_formerBitmap = nullptr;
    SIZE m_size = {};
};
