#pragma once
#include <memory>
#include <vector>
#include "dialogs/ExControls.h"
#include "dialogs/ExDialog.h"

// A label that opens an address when it is clicked, or by Space and Enter when it has the focus.
class CHyperlink final : public CXTPControl {
  public:
    CHyperlink(CXTPPaintManager& paint, std::wstring target) : CXTPControl(paint), m_target(std::move(target)) {}

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnDraw(HDC device, const RECT& area) override;

  private:
    void Open() const;
    void OnKeyDown(WPARAM key) const;
    LRESULT OnGetDialogCode(WPARAM, LPARAM typed) const;
    LRESULT OnSetCursor() const;

    const std::wstring m_target;
};

// Name, version and addresses of the program.
class CAboutDlg final : public CExDialog {
  public:
    CAboutDlg(CThemeManager& themes, HICON icon, HFONT nameFont);

  protected:
    bool OnInitDialog() override;

  private:
    const HICON m_icon;
    const HFONT m_nameFont;
    CExButton m_ok;
    CHyperlink m_contact, m_website;
};
