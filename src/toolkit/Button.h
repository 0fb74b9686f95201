#pragma once
#include "toolkit/Control.h"

// A push button or a check box.
class CXTPButton : public CXTPControl {
  public:
    using CXTPControl::CXTPControl;

  protected:
    void OnDraw(HDC device, const RECT& area) override;

  private:
    void DrawPushButton(HDC device, const RECT& area) const;
    void DrawCheckBox(HDC device, const RECT& area) const;
};

// A check box's square, with its tick when it is checked; shared with lists that have such boxes.
void DrawCheckMark(HDC device, const RECT& box, const CXTPPaintManager& paint, bool checked, bool enabled, COLORREF border);
