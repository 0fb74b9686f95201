#pragma once
#include <optional>
#include "toolkit/Control.h"
#include "toolkit/report/ReportScrollBar.h"

// A list box, or the list of a combo box, with a thin scroll bar in the theme's colours. For lists made without WS_VSCROLL:
// where the system has a scroll bar of its own, that one stays.
class CXTPScrolledList : public CXTPControl {
  public:
    using CXTPControl::CXTPControl;

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnDraw(HDC, const RECT&) override {}

  private:
    LRESULT Ask(UINT message, WPARAM wParam = 0) const;
    ReportScrollRange Range() const;
    RECT BarPlace() const;
    bool HasSystemBar() const;
    // Shows the bar as the list stands now, or takes it away.
    void Update();
    void ScrollTo(int position);
    void DrawFrame() const;

    bool OnCalcSize(RECT& client) const;
    bool OnPaintFrame();
    std::optional<LRESULT> OnHitTest(WPARAM wParam, LPARAM lParam) const;
    bool OnFrameButtonDown(WPARAM hit, LPARAM lParam);
    bool OnButtonDown(POINT client);
    bool OnButtonUp();
    bool OnMove(POINT client);
    bool OnFrameMove(WPARAM hit);
    bool OnFrameLeave();
    bool OnCaptureChanged();
    bool OnTimer(WPARAM id);
    bool OnWheel(int delta);
    void Press(POINT screen);
    void SetHot(bool hot);
    // From the screen to the window's own corner.
    POINT InWindow(POINT screen) const;
    POINT FromClient(POINT client) const;

    CReportScrollBar m_bar{ReportDirection::Vertical};
    ReportScrollRange m_shown;
    ReportWheel m_wheel;
    bool m_hasBar = false;
    bool m_updating = false;
    bool m_ownCapture = false;
};
