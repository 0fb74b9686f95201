#pragma once
#include "toolkit/Wnd.h"

// A dialog from a template of the program's resources. GUI thread.
class CDialog : public CWnd {
  public:
    explicit CDialog(int templateId) : m_templateId(templateId) {}

    // Runs it until EndDialog; returns that result, -1 when it could not be made. owner: disabled meanwhile; may be null.
    INT_PTR DoModal(HWND owner);

  protected:
    // The window and its controls exist, nothing is shown yet. True: the first control of the Tab order gets the focus.
    virtual bool OnInitDialog() { return true; }
    // Enter and the OK button; Escape, the Cancel button and closing.
    virtual void OnOK() { EndDialog(IDOK); }
    virtual void OnCancel() { EndDialog(IDCANCEL); }

    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void EndDialog(INT_PTR result);
    int TemplateId() const { return m_templateId; }
    HWND Item(int id) const { return GetDlgItem(Handle(), id); }
    std::wstring ItemText(int id) const;
    // Does not touch the control when it shows that text already.
    void SetItemText(int id, const std::wstring& text);
    void EnableItem(int id, bool enable) { EnableWindow(Item(id), enable); }

  private:
    static INT_PTR CALLBACK DialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    const int m_templateId;
};
