#pragma once
#include "toolkit/Control.h"

// A drop-down list (CBS_DROPDOWNLIST; with CBS_OWNERDRAWFIXED | CBS_HASSTRINGS its items are drawn in the theme, too).
class CXTPComboBox : public CXTPControl {
  public:
    using CXTPControl::CXTPControl;

  protected:
    void PreSubclassWindow() override;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnDraw(HDC device, const RECT& area) override;

  private:
    void DrawItem(const DRAWITEMSTRUCT& item) const;
};
