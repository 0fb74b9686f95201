#pragma once
#include "toolkit/Control.h"

// A single-line edit field: flat border, text centred in its height.
class CXTPEdit : public CXTPControl {
  public:
    using CXTPControl::CXTPControl;

  protected:
    void PreSubclassWindow() override;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnDraw(HDC, const RECT&) override {}

  private:
    void DrawBorder() const;
    LRESULT Colors(HDC device) const;
};
