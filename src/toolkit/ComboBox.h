#pragma once
#include "toolkit/ScrolledList.h"

// A drop-down list (CBS_DROPDOWNLIST; with CBS_OWNERDRAWFIXED | CBS_HASSTRINGS its items are drawn in the theme, too).
class CXTPComboBox : public CXTPControl {
  public:
    explicit CXTPComboBox(CXTPPaintManager& paint) : CXTPControl(paint), m_list(paint) {}

  protected:
    void PreSubclassWindow() override;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnDraw(HDC device, const RECT& area) override;

  private:
    LRESULT OnListColors(HDC device) const;
    LRESULT OnDrawItem(const DRAWITEMSTRUCT& item);

    CXTPScrolledList m_list;
};
