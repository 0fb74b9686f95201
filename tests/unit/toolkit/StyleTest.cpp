#include "toolkit/StyleSettings.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr COLORREF kBase = RGB(9, 8, 7);

ThemePalette BasePalette() {
    ThemePalette palette;
    palette.system.fill(kBase);
    palette.parts.fill(kBase);
    return palette;
}

TEST(StyleSettingsTest, Lines) {
    struct Case {
        const char* text;
        COLORREF window;
        COLORREF accent;
        int refused;
    };
    constexpr COLORREF kRed = RGB(0xFF, 0x01, 0x80);
    const Case cases[] = {
        {"", kBase, kBase, 0},
        {"[System]\nWindow=#FF0180\n[Parts]\nAccent=#ff0180", kRed, kRed, 0},
        {"[System]\r\n  Window = #FF0180  ; why\r\n", kRed, kBase, 0},
        {"Window=#FF0180", kBase, kBase, 0},
        {"[Other]\nWindow=#FF0180\nAccent=bad", kBase, kBase, 0},
        {"[System]\nAccent=#FF0180\nNoSuch=#FF0180", kBase, kBase, 0},
        {"[System]\n;Window=#FF0180", kBase, kBase, 0},
        {"[System]\nWindow=#FF0180\nWindow=#FF018", kRed, kBase, 1},
        {"[Parts]\nAccent=FF0180\nAccent=#FF01800\nAccent=#GG0180\nAccent=\nAccent=#-F0180", kBase, kBase, 5},
        {"[Parts\nAccent=#FF0180", kBase, kBase, 0},
        {"[Parts]\nAccent", kBase, kBase, 0},
    };
    for (const Case& entry : cases) {
        const StyleSettings settings = ParseStyleSettings(entry.text, BasePalette());
        EXPECT_EQ(settings.palette.system[COLOR_WINDOW], entry.window) << entry.text;
        EXPECT_EQ(settings.palette.parts[static_cast<std::size_t>(ThemeColor::Accent)], entry.accent) << entry.text;
        EXPECT_EQ(settings.palette.parts[static_cast<std::size_t>(ThemeColor::Error)], kBase) << entry.text;
        EXPECT_EQ(settings.refused, entry.refused) << entry.text;
    }
}

struct Style {
    const wchar_t* module;
    const wchar_t* settings;
};

constexpr Style kStyles[] = {
    {L"Office2013.dll", L"OFFICE2013WHITE.INI"},
    {L"VisualStudio2012.dll", L"VisualStudio2012Light.ini"},
    {L"VisualStudio2012.dll", L"visualstudio2012DARK.ini"},
};

std::wstring Folder() {
    const std::string folder = QV_STYLES;
    return {folder.begin(), folder.end()};
}

// Of 0 to 1, as in the Web Content Accessibility Guidelines.
double Luminance(COLORREF color) {
    const auto linear = [](int value) {
        const double part = value / 255.0;
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(GetRValue(color)) + 0.7152 * linear(GetGValue(color)) + 0.0722 * linear(GetBValue(color));
}

double Contrast(COLORREF first, COLORREF second) {
    const double a = Luminance(first);
    const double b = Luminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

TEST(StyleModuleTest, WhatIsMissingChangesNothing) {
    ThemePalette palette = BasePalette();
    EXPECT_FALSE(LoadStyle(Folder() + L"NoSuch.dll", L"OFFICE2013WHITE.INI", palette));
    EXPECT_FALSE(LoadStyle(Folder() + L"Office2013.dll", L"NoSuch.ini", palette));
    EXPECT_FALSE(LoadStyle(Folder(), L"OFFICE2013WHITE.INI", palette));
    EXPECT_EQ(palette.system, BasePalette().system);
    EXPECT_EQ(palette.parts, BasePalette().parts);
}

// Disabled text is left out: it need not be read.
TEST(StyleModuleTest, TextCanBeReadOnItsBackground) {
    constexpr std::pair<int, int> kSystemPairs[] = {
        {COLOR_WINDOWTEXT, COLOR_WINDOW}, {COLOR_BTNTEXT, COLOR_BTNFACE}, {COLOR_WINDOWTEXT, COLOR_BTNFACE},
        {COLOR_MENUTEXT, COLOR_MENU},     {COLOR_INFOTEXT, COLOR_INFOBK}, {COLOR_HIGHLIGHTTEXT, COLOR_HIGHLIGHT},
    };
    using enum ThemeColor;
    constexpr std::pair<ThemeColor, ThemeColor> kPartPairs[] = {
        {ButtonText, ButtonFace},
        {ButtonTextHot, ButtonFaceHot},
        {ButtonTextPressed, ButtonFacePressed},
        {AccentText, Accent},
        {CaptionText, CaptionFace},
        {CaptionTextInactive, CaptionFace},
        {CaptionText, CaptionButtonHot},
        {CaptionText, CaptionButtonPressed},
        {CaptionCloseText, CaptionCloseHot},
        {HeaderText, HeaderFace},
        {RowText, RowFace},
        {RowText, RowStripe},
        {RowSelectedText, RowSelected},
        {RowText, RowSelectedInactive},
        {Error, RowFace},
        {Error, RowStripe},
    };
    for (const Style& style : kStyles) {
        ThemePalette palette;
        ASSERT_TRUE(LoadStyle(Folder() + style.module, style.settings, palette));
        const auto part = [&palette](ThemeColor color) { return palette.parts[static_cast<std::size_t>(color)]; };
        const auto expectReadable = [&style](COLORREF text, COLORREF face, const char* what, int index) {
            EXPECT_GE(Contrast(text, face), 4.5)
                << std::string(style.settings, style.settings + wcslen(style.settings)) << ": " << what << " pair " << index;
        };
        int index = 0;
        for (const auto& [text, face] : kSystemPairs)
            expectReadable(palette.system[static_cast<std::size_t>(text)], palette.system[static_cast<std::size_t>(face)],
                           "system", index++);
        index = 0;
        for (const auto& [text, face] : kPartPairs)
            expectReadable(part(text), part(face), "part", index++);
        expectReadable(part(SeparatorText), palette.system[COLOR_BTNFACE], "separator", 0);
    }
}

}  // namespace
