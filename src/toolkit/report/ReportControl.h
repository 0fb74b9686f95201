#pragma once
#include <windows.h>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/PaintManager.h"
#include "toolkit/Tip.h"
#include "toolkit/Wnd.h"
#include "toolkit/report/ReportPainter.h"
#include "toolkit/report/ReportScrollBar.h"
#include "toolkit/report/ReportState.h"

// A grid in virtual mode: every cell is asked for when it is drawn. A child window of the class "QuorvelReport" that sends
// its parent WM_NOTIFY with a ReportNotification. WM_GETTEXT gives the whole grid as text: cells separated by tabs, rows by
// line feeds, the captions first. Belongs to one thread; must not be destroyed from within its own notifications.
class CXTPReportControl : public CWnd {
  public:
    explicit CXTPReportControl(const CXTPPaintManager& paintManager);
    ~CXTPReportControl() override;

    bool Create(HWND parent, int id, const RECT& place, DWORD style = WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_BORDER);

    void AddColumn(CXTPReportColumn column);
    int ColumnWidth(int column) const;  // as shown, in pixels
    // Makes the column as wide as its content.
    void FitColumn(int column);
    void SetEmptyText(std::wstring text);

    // The record stands for all rows and must outlive its use; it may be null when there are no rows. Keeps the scroll
    // position, and the focused row as far as there are so many rows.
    void SetVirtualMode(CXTPReportRecord* record, int rowCount);
    int RowCount() const { return m_state.rowCount; }
    // No focused row, scrolled to the beginning.
    void ResetState();

    // Draws the visible cells again whose text or colour is not as drawn.
    void Refresh();
    void RedrawAll();
    // Counts every drawing of a cell since the beginning.
    std::uint64_t DrawnCells() const { return m_painter.DrawnCells(); }

    int FocusedRow() const { return m_state.focusedRow; }  // -1: none
    // Scrolls it into view and notifies the parent if it changes; a row outside means none.
    void SetFocusedRow(int row);
    ReportScroll ScrollPosition() const { return m_state.scroll; }
    void ScrollTo(ReportScroll scroll);
    std::wstring Text() const;

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    // The pressed mouse button's work between down and up.
    struct DividerDrag {
        int column;
        int from;
        std::vector<ReportColumnSize> sizes;
        ReportLayout layout;
    };

    // Nothing: the message is left to the system.
    std::optional<LRESULT> OnWindowMessage(UINT message, WPARAM wParam, LPARAM lParam);
    std::optional<LRESULT> OnTextMessage(UINT message, WPARAM wParam, LPARAM lParam);
    std::optional<LRESULT> OnInputMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void Begin();
    void SetFont(HFONT font);
    void UpdateLayout();
    void PlaceScrollBars();
    void Paint();
    void Draw(HDC dc, HRGN region, std::vector<RECT>& torn);
    void DrawBorder() const;
    void SetHasFocus(bool hasFocus);
    void InvalidateRow(int row);
    void InvalidateCells(const std::vector<RECT>& cells);
    void ChangeFocusedRow(int row);
    LRESULT Notify(UINT code, int row, int column, POINT point) const;

    LRESULT OnGetDialogCode() const;
    void OnButtonDown(POINT point);
    void OnButtonUp() const;
    bool OnRightButtonUp(POINT point) const;
    void OnRightButtonDown(POINT point);
    void OnDoubleClick(POINT point);
    void OnMouseMove(POINT point);
    void OnMouseLeave();
    bool OnPageTimer(WPARAM id);
    void EndMousePress();
    void OnWheel(int delta, WORD keys);
    void OnHorizontalWheel(int delta);
    void Wheel(int delta, bool horizontal);
    std::optional<LRESULT> OnSetCursor(WPARAM, LPARAM hit) const;
    bool OnKeyDown(WPARAM key);
    bool ShowDividerCursor() const;
    bool IsTextCut(const ReportHit& cell, const std::wstring& text) const;
    void ShowTip();
    void ForgetTip();
    void ScrollBarTo(ReportDirection direction, int position);
    ReportHit HitTest(POINT point) const {
        return HitTestReport(m_state.layout, m_state.metrics, m_state.scroll, m_state.rowCount, point);
    }

    const CXTPPaintManager& m_paintManager;
    HFONT m_setFont = nullptr;  // by WM_SETFONT
    ReportState m_state;
    CReportPainter m_painter;
    CReportScrollBar m_verticalBar{ReportDirection::Vertical};
    CReportScrollBar m_horizontalBar{ReportDirection::Horizontal};
    CXTPTip m_tip;
    ReportHit m_hovered;
    ReportWheel m_verticalWheel;
    ReportWheel m_horizontalWheel;
    std::optional<DividerDrag> m_dividerDrag;
};
