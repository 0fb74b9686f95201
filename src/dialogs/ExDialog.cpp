#include "dialogs/ExDialog.h"

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

bool CExDialog::OnInitDialog() {
    TakeTemplateSize();
    UpdateFrame();
    CenterOverOwner();
    return true;
}

void CExDialog::CenterOverOwner() const {
    const HWND owner = GetWindow(Handle(), GW_OWNER);
    RECT frame = {};
    RECT own = {};
    if (owner == nullptr || IsIconic(owner) || !GetWindowRect(owner, &frame) || !GetWindowRect(Handle(), &own)) return;
    SetWindowPos(Handle(), nullptr, (frame.left + frame.right - own.right + own.left) / 2,
                 std::max(frame.top, (frame.top + frame.bottom - own.bottom + own.top) / 2), 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void CExDialog::UpdateFrame() {
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(Handle(), GWL_STYLE));
    const bool wanted = m_themes.HasStyle() && (style & WS_CAPTION) == WS_CAPTION;
    if (wanted) {
        AttachFrame(Handle(), Paint());
    } else {
        DetachFrame();
    }
}

LRESULT CExDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_THEMECHANGED) UpdateFrame();
    if (const auto result = OnFrameMessage(message, wParam, lParam)) return *result;
    return CXTPResizeDialog::OnMessage(message, wParam, lParam);
}
