#pragma once
#include <string>
#include "toolkit/CommandBarsFrameHook.h"
#include "toolkit/PaintManager.h"
#include "toolkit/ResizeDialog.h"

// Looks that can be chosen, by number.
inline constexpr int kThemeOfficeWhite = 12;
inline constexpr int kThemeLight = 14;
inline constexpr int kThemeDark = 15;
inline constexpr int kDefaultTheme = kThemeLight;

// Switches the paint manager between the looks of the style modules in the "Styles" folder. GUI thread.
class CThemeManager {
  public:
    // installationFolder ends with a backslash.
    CThemeManager(CXTPPaintManager& paint, std::wstring installationFolder)
        : m_paint(paint), m_installationFolder(std::move(installationFolder)) {}

    // A number without a style, or a style whose module is missing, leaves the look as it is. The caller tells its windows
    // (BroadcastThemeChange).
    void SelectTheme(int number);
    int CurrentTheme() const { return m_current; }
    // A style is loaded: frames are drawn in it.
    bool HasStyle() const { return m_hasStyle; }
    CXTPPaintManager& Paint() const { return m_paint; }

  private:
    CXTPPaintManager& m_paint;
    const std::wstring m_installationFolder;
    int m_current = 0;
    bool m_hasStyle = false;
};

// A dialog in the program's look, frame included when a style is loaded.
class CExDialog : public CXTPResizeDialog, private CXTPCommandBarsFrameHook {
  public:
    CExDialog(int templateId, CThemeManager& themes) : CXTPResizeDialog(templateId, themes.Paint()), m_themes(themes) {}

  protected:
    bool OnInitDialog() override;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    CThemeManager& Themes() const { return m_themes; }

  private:
    void UpdateFrame();
    void CenterOverOwner() const;

    CThemeManager& m_themes;
};
