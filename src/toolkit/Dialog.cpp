#include "toolkit/Dialog.h"

#include "toolkit/MessageMap.h"

INT_PTR CDialog::DoModal(HWND owner) {
    return DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(m_templateId), owner, &CDialog::DialogProcedure,
                           reinterpret_cast<LPARAM>(this));
}

INT_PTR CALLBACK CDialog::DialogProcedure(HWND window, UINT message, WPARAM, LPARAM lParam) {
    // All else comes to OnMessage, which stands before the dialog's own procedure.
    if (message != WM_INITDIALOG) return FALSE;
    auto* const self = reinterpret_cast<CDialog*>(lParam);
    self->SubclassWindow(window);
    return self->OnInitDialog();
}

LRESULT CDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    static constexpr std::array kMap = {
        MapCommand<&CDialog::OnOK>(IDOK, BN_CLICKED),
        MapCommand<&CDialog::OnCancel>(IDCANCEL, BN_CLICKED),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    return CWnd::OnMessage(message, wParam, lParam);
}

void CDialog::EndDialog(INT_PTR result) {
    ::EndDialog(Handle(), result);
}

std::wstring CDialog::ItemText(int id) const {
    return TextOfWindow(Item(id));
}

void CDialog::SetItemText(int id, const std::wstring& text) {
    if (ItemText(id) != text) SetWindowTextW(Item(id), text.c_str());
}
