#pragma once
#include <optional>
#include "toolkit/Dialog.h"
#include "toolkit/PaintManager.h"
#include "toolkit/Resize.h"

// A dialog in the colours of the theme that can be made larger than it opens, and smaller only as far as its
// rules allow; its controls follow by rules.
class CXTPResizeDialog : public CDialog {
  public:
    CXTPResizeDialog(int templateId, CXTPPaintManager& paint) : CDialog(templateId), m_paint(paint) {}

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    // At first in OnInitDialog: a screen that is too small has cut the window, and its controls would count as outside of
    // it.
    void TakeTemplateSize();
    // To be started in OnInitDialog by whoever wants to be resized.
    CXTPResize& Resize() { return m_resize; }
    CXTPPaintManager& Paint() const { return m_paint; }

  private:
    template <UINT message>
    LRESULT OnControlColor(HDC device, HWND control) {
        return ControlColor(message, device, control);
    }
    LRESULT ControlColor(UINT message, HDC device, HWND control) const;
    LRESULT OnDialogColor() const;
    std::optional<LRESULT> OnDrawItem(const DRAWITEMSTRUCT& item) const;
    LRESULT OnEraseBackground(HDC device) const;
    void OnSize(WPARAM kind);
    void OnMinimumSize(MINMAXINFO& sizes);

    CXTPPaintManager& m_paint;
    CXTPResize m_resize;
};
