#pragma once
#include <optional>
#include "toolkit/Gdi.h"

// A bitmap to draw into, kept for the next time: one row of the grid, so that a large window costs little memory.
class CReportBuffer {
  public:
    // A context at least this large, with the font selected; owned by the buffer.
    HDC Begin(HDC target, SIZE size, HFONT font);
    // Copies the buffer's top left part to the place.
    void CopyTo(HDC target, const RECT& place) const;

  private:
    std::optional<CMemoryBitmap> m_memory;
    std::optional<CSelection> m_font;  // in the bitmap's context
    SIZE m_size = {};
};
