#include "dialogs/ThemeManager.h"

#include <algorithm>
#include <iterator>

#include "toolkit/StyleSettings.h"

namespace {

struct Theme {
    int number;
    const wchar_t* module;
    const wchar_t* settings;
};

constexpr Theme kThemes[] = {
    {kThemeOfficeWhite, L"Office2013.dll", L"OFFICE2013WHITE.INI"},
    {kThemeLight, L"VisualStudio2012.dll", L"VisualStudio2012Light.ini"},
    {kThemeDark, L"VisualStudio2012.dll", L"VisualStudio2012Dark.ini"},
};

}  // namespace

void CThemeManager::SelectTheme(int number) {
    m_current = number;
    const auto* theme = std::find_if(std::begin(kThemes), std::end(kThemes),
                                     [number](const Theme& entry) { return entry.number == number; });
    if (theme == std::end(kThemes)) return;
    ThemePalette palette;
    if (!LoadStyle(m_installationFolder + L"Styles\\" + theme->module, theme->settings, palette)) return;
    m_paint.SetPalette(palette);
    m_hasStyle = true;
}
