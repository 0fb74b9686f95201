#pragma once
#include "toolkit/Dialog.h"
#include "toolkit/PaintManager.h"
#include "toolkit/Resize.h"

// A dialog in the colours of the theme that can be made larger than it opens, never smaller; its controls follow by rules.
class CXTPResizeDialog : public CDialog {
  public:
    CXTPResizeDialog(int templateId, CXTPPaintManager& paint) : CDialog(templateId), m_paint(paint) {}

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    // To be started in OnInitDialog by whoever wants to be resized.
    CXTPResize& Resize() { return m_resize; }
    CXTPPaintManager& Paint() const { return m_paint; }

  private:
    LRESULT ControlColor(UINT message, HDC device, HWND control);

    CXTPPaintManager& m_paint;
    CXTPResize m_resize;
};
