#pragma once
#include "toolkit/Control.h"
#include "toolkit/Tip.h"

// A single-line edit field: flat border, text centred in its height. The mouse over it shows a text that does not fit.
class CXTPEdit : public CXTPControl {
  public:
    explicit CXTPEdit(CXTPPaintManager& paint) : CXTPControl(paint), m_tip(paint) {}

  protected:
    void PreSubclassWindow() override;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnDraw(HDC, const RECT&) override {}

  private:
    void DrawBorder() const;
    LRESULT Colors(HDC device) const;
    void ShowTip();

    CXTPTip m_tip;
};
