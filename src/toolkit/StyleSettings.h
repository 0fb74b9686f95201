#pragma once
#include <string>
#include <string_view>
#include "toolkit/PaintManager.h"

// What reading a style's settings gave.
struct StyleSettings {
    ThemePalette palette;
    int refused = 0;  // lines whose value is no colour
};

// Reads a settings file: "[System]" with the system indexes by name (Window, ButtonFace ...), "[Parts]" with the names of
// ThemeColor; lines "Name=#RRGGBB"; text behind a semicolon is a comment. Unknown names are left out of account; what the
// file does not set stays as in base.
StyleSettings ParseStyleSettings(std::string_view text, const ThemePalette& base);

// The look that a style module holds under that settings name (a resource of type "SETTINGS"); nothing is run of the module.
// False: no such module or settings; palette is as it was.
bool LoadStyle(const std::wstring& modulePath, const std::wstring& settingsName, ThemePalette& palette);
