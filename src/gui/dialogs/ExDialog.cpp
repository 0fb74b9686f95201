#include "gui/dialogs/ExDialog.h"

bool CExDialog::OnInitDialog() {
    UpdateFrame();
    return true;
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
