#pragma once
#include <windows.h>
#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include "toolkit/Gdi.h"

// Colours of a look that Windows has no system index for.
enum class ThemeColor {
    FieldBorder,
    FieldBorderHot,
    FieldBorderFocus,
    ButtonFace,
    ButtonBorder,
    ButtonText,
    ButtonFaceHot,
    ButtonBorderHot,
    ButtonTextHot,
    ButtonFacePressed,
    ButtonTextPressed,
    ButtonFaceDisabled,
    ButtonTextDisabled,
    Accent,
    AccentText,
    CaptionFace,
    CaptionText,
    CaptionTextInactive,
    CaptionButtonHot,
    CaptionButtonPressed,
    CaptionCloseHot,
    CaptionCloseText,
    FrameActive,
    FrameInactive,
    HeaderFace,
    HeaderText,
    HeaderLine,
    RowFace,
    RowStripe,
    RowText,
    RowSelected,
    RowSelectedText,
    RowSelectedInactive,
    RowFocus,
    ScrollTrack,
    ScrollThumb,
    ScrollThumbHot,
    SeparatorLine,
    SeparatorText,
    Error,
    Count
};

// One look, complete: what a style's settings file describes. A value.
struct ThemePalette {
    static constexpr std::size_t kSystemColors = 31;  // indexes of GetSysColor
    std::array<COLORREF, kSystemColors> system = {};
    std::array<COLORREF, static_cast<std::size_t>(ThemeColor::Count)> parts = {};

    // The look without a style: every colour from GetSysColor.
    static ThemePalette FromSystem();
};

// The colours that every themed control draws with. One per program, made before the first window and destroyed after the
// last; GUI thread. After SetPalette the caller tells its windows (BroadcastThemeChange).
class CXTPPaintManager {
  public:
    CXTPPaintManager() : m_palette(ThemePalette::FromSystem()) {}
    CXTPPaintManager(const CXTPPaintManager&) = delete;
    CXTPPaintManager& operator=(const CXTPPaintManager&) = delete;

    // systemIndex as for GetSysColor, for example COLOR_BTNFACE (15).
    COLORREF GetColor(int systemIndex) const;
    COLORREF GetColor(ThemeColor part) const { return m_palette.parts[static_cast<std::size_t>(part)]; }
    // A solid brush, kept here: valid until SetPalette, never to be deleted by the caller.
    HBRUSH GetBrush(COLORREF color) const;
    HBRUSH GetBrush(ThemeColor part) const { return GetBrush(GetColor(part)); }

    void SetPalette(const ThemePalette& palette);

  private:
    ThemePalette m_palette;
    mutable std::map<COLORREF, BrushHandle> m_brushes;
};

// Sends WM_THEMECHANGED to the window and its descendants, which read their colours again, and redraws them, frames too.
void BroadcastThemeChange(HWND window);
