#include "toolkit/ResizeDialog.h"

#include "toolkit/MessageMap.h"

namespace {

constexpr LONG kAnySize = 0x7FFF;

// The beginning of an extended dialog template, as the resource holds it.
struct TemplateStart {
    WORD version, signature;
    DWORD helpId, extendedStyle, style;
    WORD items;
    short x, y, width, height;
};

}  // namespace

void CXTPResizeDialog::TakeTemplateSize() {
    const HMODULE module = GetModuleHandleW(nullptr);
    const HRSRC resource = FindResourceW(module, MAKEINTRESOURCEW(TemplateId()), MAKEINTRESOURCEW(5));  // a dialog
    const HGLOBAL data = resource == nullptr ? nullptr : LoadResource(module, resource);
    const auto* start = data == nullptr ? nullptr : static_cast<const TemplateStart*>(LockResource(data));
    if (start == nullptr || start->signature != 0xFFFF) return;
    RECT wanted = {0, 0, start->width, start->height};
    RECT client = {};
    RECT window = {};
    if (!MapDialogRect(Handle(), &wanted) || !GetClientRect(Handle(), &client) || !GetWindowRect(Handle(), &window)) return;
    if (wanted.right <= client.right && wanted.bottom <= client.bottom) return;
    SetWindowPos(Handle(), nullptr, 0, 0, window.right - window.left + wanted.right - client.right,
                 window.bottom - window.top + wanted.bottom - client.bottom, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

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
    if (!m_resize.IsStarted()) {
        sizes.ptMaxTrackSize = {kAnySize, kAnySize};
        return;
    }
    const SIZE minimum = m_resize.MinimumSize();
    sizes.ptMinTrackSize = {minimum.cx, minimum.cy};
}
