#pragma once
#include "dialogs/ExDialog.h"
#include "dialogs/MainDialogHost.h"

// A dialog that edits a working copy: OnOK saves it and ends. Its place and size are kept. Who leaves it with changes by
// Escape, Cancel or its caption is asked what becomes of them; a WM_CLOSE alone, as the program's own end sends it, asks
// nobody. GUI thread.
class CEditorDlg : public CExDialog {
  public:
    // place: of the settings; outlives the dialog.
    CEditorDlg(int templateId, CThemeManager& themes, SettingsRect& place) : CExDialog(templateId, themes), m_place(place) {}

  protected:
    // What the user typed is not saved.
    virtual bool HasChanges() const = 0;
    void OnCancel() override;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    // In OnInitDialog, when the least size is known.
    void RestorePlace();

  private:
    bool OnSysCommand(UINT command);
    void OnClose() { EndDialog(IDCANCEL); }

    SettingsRect& m_place;
};
