#include "dialogs/EditorDlg.h"

#include "common/Version.h"
#include "dialogs/DialogPlace.h"
#include "toolkit/MessageMap.h"
#include "toolkit/TaskDialog.h"

LRESULT CEditorDlg::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    using Self = CEditorDlg;
    static constexpr std::array kMap = {
        MapMessage<WM_SYSCOMMAND, &Self::OnSysCommand>(),
        MapMessage<WM_CLOSE, &Self::OnClose>(),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    if (message == WM_DESTROY) KeepDialogPlace(Handle(), m_place);
    return CExDialog::OnMessage(message, wParam, lParam);
}

void CEditorDlg::RestorePlace() {
    RestoreDialogPlace(Handle(), m_place, KeptSize::Restored);
}

bool CEditorDlg::OnSysCommand(UINT command) {
    if (command != SC_CLOSE) return false;
    OnCancel();
    return true;
}

void CEditorDlg::OnCancel() {
    if (!HasChanges()) return EndDialog(IDCANCEL);
    if (HasMessageOpen(Handle())) return;
    CTaskDialog question(L"There are changes that are not saved.", L"Save the changes?", kApplicationName,
                         TaskDialogButtons::SaveDiscardContinue);
    question.SetMainIcon(TaskDialogIcon::Warning);
    const int answer = question.DoModal(Handle());
    if (answer == IDYES) OnOK();
    if (answer == IDNO) EndDialog(IDCANCEL);
}
