#include "toolkit/ResizeDialog.h"

#include "toolkit/MessageMap.h"

LRESULT CXTPResizeDialog::ControlColor(UINT message, HDC device, HWND control) const {
    const LRESULT own = SendMessageW(control, message + kReflected, reinterpret_cast<WPARAM>(device), 0);
    if (own != 0) return own;
    // A field that cannot be typed in is a WM_CTLCOLORSTATIC too.
    const bool isField = message == WM_CTLCOLOREDIT || message == WM_CTLCOLORLISTBOX;
    const COLORREF background = m_paint.GetColor(isField ? COLOR_WINDOW : COLOR_BTNFACE);
    const bool enabled = control == nullptr || IsWindowEnabled(control);
    SetTextColor(device, m_paint.GetColor(!enabled ? COLOR_GRAYTEXT : isField ? COLOR_WINDOWTEXT : COLOR_BTNTEXT));
    SetBkColor(device, background);
    return reinterpret_cast<LRESULT>(m_paint.GetBrush(background));
}

LRESULT CXTPResizeDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    static constexpr std::array kMap = {
        MapMessage<WM_CTLCOLORDLG, &CXTPResizeDialog::OnDialogColor>(),
        MapMessage<WM_CTLCOLORSTATIC, &CXTPResizeDialog::OnControlColor<WM_CTLCOLORSTATIC>>(),
        MapMessage<WM_CTLCOLOREDIT, &CXTPResizeDialog::OnControlColor<WM_CTLCOLOREDIT>>(),
        MapMessage<WM_CTLCOLORLISTBOX, &CXTPResizeDialog::OnControlColor<WM_CTLCOLORLISTBOX>>(),
        MapMessage<WM_CTLCOLORBTN, &CXTPResizeDialog::OnControlColor<WM_CTLCOLORBTN>>(),
        MapMessage<WM_DRAWITEM, &CXTPResizeDialog::OnDrawItem>(),
        MapMessage<WM_ERASEBKGND, &CXTPResizeDialog::OnEraseBackground>(),
        MapMessage<WM_SIZE, &CXTPResizeDialog::OnSize>(),
        MapMessage<WM_GETMINMAXINFO, &CXTPResizeDialog::OnMinimumSize>(),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    return CDialog::OnMessage(message, wParam, lParam);
}

LRESULT CXTPResizeDialog::OnDialogColor() const {
    return reinterpret_cast<LRESULT>(m_paint.GetBrush(m_paint.GetColor(COLOR_BTNFACE)));
}

// Nothing: a menu's item, or of a control that leaves it to the system.
std::optional<LRESULT> CXTPResizeDialog::OnDrawItem(const DRAWITEMSTRUCT& item) const {
    if (item.CtlType == ODT_MENU) return std::nullopt;
    const HWND control = Item(static_cast<int>(item.CtlID));
    if (SendMessageW(control, WM_DRAWITEM + kReflected, item.CtlID, reinterpret_cast<LPARAM>(&item)) == 0)
        return std::nullopt;
    return TRUE;
}

LRESULT CXTPResizeDialog::OnEraseBackground(HDC device) const {
    RECT client = {};
    GetClientRect(Handle(), &client);
    FillRect(device, &client, m_paint.GetBrush(m_paint.GetColor(COLOR_BTNFACE)));
    return TRUE;
}

void CXTPResizeDialog::OnSize(WPARAM kind) {
    if (m_resize.IsStarted() && kind != SIZE_MINIMIZED) m_resize.Apply();
}

void CXTPResizeDialog::OnMinimumSize(MINMAXINFO& sizes) {
    CDialog::OnMessage(WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&sizes));
    if (!m_resize.IsStarted()) return;
    const SIZE minimum = m_resize.MinimumSize();
    sizes.ptMinTrackSize = {minimum.cx, minimum.cy};
}
