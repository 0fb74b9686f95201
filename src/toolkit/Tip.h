#pragma once
#include <windows.h>
#include <string>

#include "toolkit/PaintManager.h"

// A small window that shows the full text of a cut cell or field. GUI thread.
class CXTPTip {
  public:
    explicit CXTPTip(const CXTPPaintManager& paintManager) : m_paintManager(paintManager) {}
    ~CXTPTip();
    CXTPTip(const CXTPTip&) = delete;
    CXTPTip& operator=(const CXTPTip&) = delete;

    // Below the rectangle (screen coordinates), or above it where there is no room; long texts are wrapped. The font is not
    // owned. Showing the text that is shown already changes nothing.
    void Show(HWND owner, const std::wstring& text, HFONT font, const RECT& cell);
    void Hide();
    bool IsShown() const { return m_handle != nullptr; }

  private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void Paint() const;
    SIZE Measure(HWND owner) const;

    const CXTPPaintManager& m_paintManager;
    HWND m_handle = nullptr;
    std::wstring m_text;
    HFONT m_font = nullptr;
    RECT m_cell = {};
};
