#include "dialogs/ExControls.h"

#include "gui/Colors.h"
#include "toolkit/Gdi.h"

namespace {

constexpr int kNotFound = 24;

// In the control's font.
LONG TextWidth(HWND control, const std::wstring& text) {
    return TextSize(control, FontOf(control), text).cx;
}

}  // namespace

void CExStatic::SetBackgroundColor(COLORREF color) {
    if (m_background == color) return;
    m_background = color;
    InvalidateRect(Handle(), nullptr, TRUE);
}

void CExStatic::ResetBackgroundColor() {
    if (!m_background) return;
    m_background.reset();
    InvalidateRect(Handle(), nullptr, TRUE);
}

void CExStatic::SetTextColor(COLORREF color) {
    if (m_text == color) return;
    m_text = color;
    InvalidateRect(Handle(), nullptr, TRUE);
}

LRESULT CExStatic::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != WM_CTLCOLORSTATIC + kReflected) return CWnd::OnMessage(message, wParam, lParam);
    const auto device = reinterpret_cast<HDC>(wParam);
    const bool enabled = IsWindowEnabled(Handle()) != FALSE;
    ::SetTextColor(device, enabled ? m_text.value_or(m_paint.GetColor(COLOR_BTNTEXT)) : m_paint.GetColor(COLOR_GRAYTEXT));
    SetBkColor(device, BackgroundColor());
    return reinterpret_cast<LRESULT>(m_paint.GetBrush(BackgroundColor()));
}

void CExSeparator::OnDraw(HDC device, const RECT& area) {
    FillRect(device, &area, Paint().GetBrush(Paint().GetColor(COLOR_BTNFACE)));
    const std::wstring text = Text();
    DrawControlText(device, Handle(), text.c_str(), area, Paint().GetColor(ThemeColor::SeparatorText), DT_NOPREFIX);
    const int middle = (area.top + area.bottom) / 2;
    const RECT line = {area.left + TextWidth(Handle(), text) + ScaleForDpi(8), middle, area.right, middle + ScaleForDpi(1)};
    FillRect(device, &line, Paint().GetBrush(ThemeColor::SeparatorLine));
}

void CExNote::Show(const std::wstring& text, bool isProblem) {
    if (m_isProblem != isProblem) Redraw();
    m_isProblem = isProblem;
    SetText(text);
}

LRESULT CExNote::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_MOUSEHOVER) ShowTip();
    if (message == WM_MOUSELEAVE || message == WM_SETTEXT || message == WM_DESTROY) m_tip.Hide();
    return CXTPControl::OnMessage(message, wParam, lParam);
}

void CExNote::OnDraw(HDC device, const RECT& area) {
    const COLORREF ground = Paint().GetColor(COLOR_BTNFACE);
    FillRect(device, &area, Paint().GetBrush(ground));
    DrawControlText(device, Handle(), Text().c_str(), area, NoteColor(m_isProblem, ground), DT_END_ELLIPSIS | DT_NOPREFIX);
}

void CExNote::ShowTip() {
    const std::wstring text = Text();
    RECT place = {};
    GetWindowRect(Handle(), &place);
    if (TextWidth(Handle(), text) <= place.right - place.left) return;
    m_tip.Show(Handle(), text, FontOf(Handle()), place);
}

int CExComboBox::AddItem(const std::wstring& text, std::uint64_t data, int position) {
    const LRESULT index =
        SendMessageW(Handle(), CB_INSERTSTRING, static_cast<WPARAM>(position), reinterpret_cast<LPARAM>(text.c_str()));
    if (index >= 0) SendMessageW(Handle(), CB_SETITEMDATA, static_cast<WPARAM>(index), static_cast<LPARAM>(data));
    return static_cast<int>(index);
}

int CExComboBox::SelectByData(std::uint64_t data) {
    const int count = Count();
    for (int i = 0; i < count; ++i) {
        if (static_cast<std::uint64_t>(SendMessageW(Handle(), CB_GETITEMDATA, static_cast<WPARAM>(i), 0)) != data) continue;
        Select(i);
        return 0;
    }
    return kNotFound;
}

std::uint64_t CExComboBox::ItemData(int index) const {
    if (index < 0) index = Selected();
    if (index < 0) return 0;
    return static_cast<std::uint64_t>(SendMessageW(Handle(), CB_GETITEMDATA, static_cast<WPARAM>(index), 0));
}
