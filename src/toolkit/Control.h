#pragma once
#include "toolkit/PaintManager.h"
#include "toolkit/Wnd.h"

// A control of a dialog template that is drawn in the theme. It stays the system's control, so keyboard and messages work as
// ever; only what it looks like is ours.
class CXTPControl : public CWnd {
  public:
    explicit CXTPControl(CXTPPaintManager& paint) : m_paint(paint) {}

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    // Draws the whole client area; device is in memory.
    virtual void OnDraw(HDC device, const RECT& area) = 0;
    // The state that the control shows changed.
    void Redraw() const { InvalidateRect(Handle(), nullptr, FALSE); }

    CXTPPaintManager& Paint() const { return m_paint; }
    bool IsHot() const { return m_hot; }
    bool HasFocus() const { return GetFocus() == Handle(); }
    bool IsEnabled() const { return IsWindowEnabled(Handle()) != FALSE; }
    DWORD Style() const { return static_cast<DWORD>(GetWindowLongPtrW(Handle(), GWL_STYLE)); }
    // FieldBorder by hover and focus.
    COLORREF BorderColor() const;
    // Follows the mouse over controls that the base does not draw.
    void TrackHover(UINT message);

  private:
    // The control's own handling where that would draw the system's look at once, past WM_PAINT.
    LRESULT WithoutDrawing(UINT message, WPARAM wParam, LPARAM lParam);

    CXTPPaintManager& m_paint;
    bool m_hot = false;
};
