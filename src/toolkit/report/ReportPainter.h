#pragma once
#include <windows.h>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include "toolkit/Gdi.h"
#include "toolkit/PaintManager.h"
#include "toolkit/report/ReportState.h"

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

// Draws a grid, and remembers what it has drawn so that only cells that differ have to be drawn again. GUI thread.
class CReportPainter {
  public:
    explicit CReportPainter(const CXTPPaintManager& paintManager) : m_paintManager(paintManager) {}

    // Draws what lies in the region (client coordinates), to which the target is clipped. The cells that were drawn in part
    // only, and with another text than their other part, are appended to torn: they have to be drawn again as a whole.
    void Draw(HDC target, HRGN region, const ReportState& state, std::vector<RECT>& torn);
    // The visible cells that would not be drawn as they were. They count as not drawn from now on.
    void FindChanged(const ReportState& state, std::vector<RECT>& changed);
    // What is drawn next is not compared with what was drawn before.
    void Forget();

    std::uint64_t DrawnCells() const { return m_drawnCells; }

  private:
    struct Cell {
        int row = -1;  // -1: not drawn
        std::wstring text;
        std::optional<COLORREF> textColor;
    };
    struct RowColors {
        COLORREF face;
        COLORREF text;
        bool selected;
    };

    void DrawHeader(HDC target, const ReportState& state);
    void DrawRow(HDC target, HRGN region, const ReportState& state, int row, std::vector<RECT>& torn);
    void DrawItem(HDC buffer, const RECT& place, const ReportState& state, int column, const RowColors& colors);
    void DrawSpaceBelow(HDC target, HRGN region, const ReportState& state);
    RowColors ColorsOf(const ReportState& state, int row) const;
    bool TakeDrawn(Cell& cell, int row);
    void FitCells(const ReportState& state);
    Cell& CellAt(const ReportState& state, int row, int column);

    const CXTPPaintManager& m_paintManager;
    CReportBuffer m_buffer;
    std::vector<Cell> m_cells;    // of the visible rows, which use the table's lines in turn
    int m_lines = 0;              // of that table
    ReportItemMetrics m_metrics;  // its text's storage is used again and again
    std::uint64_t m_drawnCells = 0;
};
