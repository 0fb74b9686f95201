#pragma once
#include <windows.h>
#include <string>

#include "toolkit/PaintManager.h"
#include "toolkit/Wnd.h"

// A small window that shows the full text of a cut cell or field. GUI thread.
class CXTPTip final : private CWnd {
  public:
    explicit CXTPTip(const CXTPPaintManager& paintManager) : m_paintManager(paintManager) {}
    ~CXTPTip() override { LetGo(); }

    // Below the rectangle (screen coordinates), or above it where there is no room; long texts are wrapped. The font is not
    // owned. Showing the text that is shown already changes nothing.
    void Show(HWND owner, const std::wstring& text, HFONT font, const RECT& cell);
    void Hide() { DestroyWindow(); }
    bool IsShown() const { return Handle() != nullptr; }

  private:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void Paint() const;
    LRESULT OnEraseBackground() const { return 1; }
    LRESULT OnHitTest() const { return HTTRANSPARENT; }
    SIZE Measure(HWND owner) const;

    const CXTPPaintManager& m_paintManager;
    std::wstring m_text;
    HFONT m_font = nullptr;
    RECT m_cell = {};
};
