#include "gui/dialogs/ExControls.h"

#include "toolkit/BufferedPaint.h"
#include "toolkit/Dpi.h"

namespace {

constexpr int kNotFound = 24;

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
    RECT measured = area;
    const auto font = reinterpret_cast<HFONT>(SendMessageW(Handle(), WM_GETFONT, 0, 0));
    const HGDIOBJ previous = SelectObject(device, font);
    DrawTextW(device, text.c_str(), -1, &measured, DT_SINGLELINE | DT_CALCRECT | DT_NOPREFIX);
    SelectObject(device, previous);
    const int middle = (area.top + area.bottom) / 2;
    const RECT line = {measured.right + ScaleForDpi(8), middle, area.right, middle + ScaleForDpi(1)};
    FillRect(device, &line, Paint().GetBrush(ThemeColor::SeparatorLine));
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
