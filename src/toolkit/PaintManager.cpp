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
