#include "dialogs/ExControls.h"

#include <algorithm>

#include "gui/Colors.h"
#include "toolkit/Gdi.h"

namespace {

constexpr int kNotFound = 24;
// Text that stands out less is drawn bold, with a shade behind it.
constexpr double kLeastContrast = 3.0;

// In the control's font.
LONG TextWidth(HWND control, const std::wstring& text) {
    return TextSize(control, FontOf(control), text).cx;
}

// Half as bright.
COLORREF Shaded(COLORREF color) {
    return RGB(GetRValue(color) / 2, GetGValue(color) / 2, GetBValue(color) / 2);
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

void CExStatic::OnDraw(HDC device, const RECT& area) {
    FillRect(device, &area, Paint().GetBrush(BackgroundColor()));
    const COLORREF color = IsEnabled() ? m_text.value_or(Paint().GetColor(COLOR_BTNTEXT)) : Paint().GetColor(COLOR_GRAYTEXT);
    const std::wstring text = Text();
    SetBkMode(device, TRANSPARENT);
    if ((Style() & SS_CENTERIMAGE) != 0) return DrawLine(device, text, area, color);
    const CSelection selection(device, FontOf(Handle()));
    RECT place = area;
    ::SetTextColor(device, color);
    DrawTextW(device, text.c_str(), -1, &place, DT_WORDBREAK | DT_NOPREFIX);
}

void CExStatic::DrawLine(HDC device, const std::wstring& text, RECT area, COLORREF color) const {
    const HFONT font = FontOf(Handle());
    FontHandle narrow;
    LOGFONTW look = {};
    const LONG width = TextWidth(Handle(), text);
    const LONG room = area.right - area.left - 2 * ScaleForDpi(2);
    const bool isFaint = ContrastRatio(color, BackgroundColor()) < kLeastContrast;
    if ((width > room || isFaint) && GetObjectW(font, sizeof(look), &look) != 0) {
        if (isFaint) look.lfWeight = FW_BOLD;
        // Down to two thirds; what is longer still ends in dots.
        if (width > room)
            look.lfHeight = static_cast<LONG>(look.lfHeight * std::max(room / static_cast<double>(width), 2.0 / 3));
        narrow.reset(CreateFontIndirectW(&look));
    }
    const CSelection selection(device, narrow != nullptr ? narrow.get() : font);
    constexpr UINT kFormat = DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX;
    if (isFaint) {
        RECT shade = area;
        OffsetRect(&shade, ScaleForDpi(1), ScaleForDpi(1));
        ::SetTextColor(device, Shaded(BackgroundColor()));
        DrawTextW(device, text.c_str(), -1, &shade, kFormat);
    }
    ::SetTextColor(device, color);
    DrawTextW(device, text.c_str(), -1, &area, kFormat);
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
