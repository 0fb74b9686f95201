#pragma once
#include "dialogs/ThemeManager.h"
#include "toolkit/CommandBarsFrameHook.h"
#include "toolkit/ResizeDialog.h"

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
