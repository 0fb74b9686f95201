#include "toolkit/PaintManager.h"

COLORREF CXTPPaintManager::GetColor(int systemIndex) const {
    const auto index = static_cast<std::size_t>(systemIndex);
    return index < m_palette.system.size() ? m_palette.system[index] : GetSysColor(systemIndex);
}

HBRUSH CXTPPaintManager::GetBrush(COLORREF color) const {
    BrushHandle& brush = m_brushes[color];
    if (brush == nullptr) brush.reset(CreateSolidBrush(color));
    return brush.get();
}

void CXTPPaintManager::SetPalette(const ThemePalette& palette) {
    m_palette = palette;
    m_brushes.clear();
}

namespace {

BOOL CALLBACK TellThemeChange(HWND window, LPARAM) {
    SendMessageW(window, WM_THEMECHANGED, 0, 0);
    return TRUE;
}

}  // namespace

void BroadcastThemeChange(HWND window) {
    TellThemeChange(window, 0);
    EnumChildWindows(window, &TellThemeChange, 0);
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

namespace {

struct PartFromSystem {
    ThemeColor part;
    int systemIndex;
};

constexpr PartFromSystem kParts[] = {
    {ThemeColor::FieldBorder, COLOR_BTNSHADOW},
    {ThemeColor::FieldBorderHot, COLOR_HIGHLIGHT},
    {ThemeColor::FieldBorderFocus, COLOR_HIGHLIGHT},
    {ThemeColor::ButtonFace, COLOR_BTNFACE},
    {ThemeColor::ButtonBorder, COLOR_BTNSHADOW},
    {ThemeColor::ButtonText, COLOR_BTNTEXT},
    {ThemeColor::ButtonFaceHot, COLOR_BTNHIGHLIGHT},
    {ThemeColor::ButtonBorderHot, COLOR_HIGHLIGHT},
    {ThemeColor::ButtonTextHot, COLOR_BTNTEXT},
    {ThemeColor::ButtonFacePressed, COLOR_HIGHLIGHT},
    {ThemeColor::ButtonTextPressed, COLOR_HIGHLIGHTTEXT},
    {ThemeColor::ButtonFaceDisabled, COLOR_BTNFACE},
    {ThemeColor::ButtonTextDisabled, COLOR_GRAYTEXT},
    {ThemeColor::Accent, COLOR_HIGHLIGHT},
    {ThemeColor::AccentText, COLOR_HIGHLIGHTTEXT},
    {ThemeColor::CaptionFace, COLOR_ACTIVECAPTION},
    {ThemeColor::CaptionText, COLOR_CAPTIONTEXT},
    {ThemeColor::CaptionTextInactive, COLOR_INACTIVECAPTIONTEXT},
    {ThemeColor::CaptionButtonHot, COLOR_BTNFACE},
    {ThemeColor::CaptionButtonPressed, COLOR_BTNSHADOW},
    {ThemeColor::CaptionCloseHot, COLOR_HIGHLIGHT},
    {ThemeColor::CaptionCloseText, COLOR_HIGHLIGHTTEXT},
    {ThemeColor::FrameActive, COLOR_ACTIVEBORDER},
    {ThemeColor::FrameInactive, COLOR_INACTIVEBORDER},
    {ThemeColor::HeaderFace, COLOR_BTNFACE},
    {ThemeColor::HeaderText, COLOR_BTNTEXT},
    {ThemeColor::HeaderLine, COLOR_BTNSHADOW},
    {ThemeColor::RowFace, COLOR_WINDOW},
    {ThemeColor::RowStripe, COLOR_WINDOW},
    {ThemeColor::RowText, COLOR_WINDOWTEXT},
    {ThemeColor::RowSelected, COLOR_HIGHLIGHT},
    {ThemeColor::RowSelectedText, COLOR_HIGHLIGHTTEXT},
    {ThemeColor::RowSelectedInactive, COLOR_BTNFACE},
    {ThemeColor::RowFocus, COLOR_WINDOWFRAME},
    {ThemeColor::ScrollTrack, COLOR_SCROLLBAR},
    {ThemeColor::ScrollThumb, COLOR_BTNSHADOW},
    {ThemeColor::ScrollThumbHot, COLOR_3DDKSHADOW},
    {ThemeColor::SeparatorLine, COLOR_BTNSHADOW},
    {ThemeColor::SeparatorText, COLOR_BTNTEXT},
};
// Error has no system colour.
static_assert(std::size(kParts) + 1 == static_cast<std::size_t>(ThemeColor::Count));

}  // namespace

ThemePalette ThemePalette::FromSystem() {
    ThemePalette palette;
    for (std::size_t i = 0; i < palette.system.size(); ++i)
        palette.system[i] = GetSysColor(static_cast<int>(i));
    for (const PartFromSystem& entry : kParts)
        palette.parts[static_cast<std::size_t>(entry.part)] = GetSysColor(entry.systemIndex);
    palette.parts[static_cast<std::size_t>(ThemeColor::Error)] = RGB(0xC0, 0, 0);
    return palette;
}
