#include "toolkit/ComboBox.h"

#include <string>

#include "toolkit/Gdi.h"
#include "toolkit/MessageMap.h"

namespace {

constexpr int kArrowAt96Dpi = 7;
constexpr int kItemAt96Dpi = 20;
constexpr int kFieldDialogUnits = 14;

void DrawArrow(HDC device, const RECT& place, COLORREF color) {
    const int half = ScaleForDpi(kArrowAt96Dpi) / 2;
    const int x = (place.left + place.right) / 2;
    const int y = (place.top + place.bottom) / 2 - half / 2;
    const PenHandle pen(CreatePen(PS_SOLID, ScaleForDpi(1), color));
    const CSelection selection(device, pen.get());
    MoveToEx(device, x - half, y, nullptr);
    LineTo(device, x, y + half);
    LineTo(device, x + half + 1, y - 1);
}

std::wstring ItemText(HWND combo, LRESULT item) {
    if (item < 0) return {};
    const LRESULT length = SendMessageW(combo, CB_GETLBTEXTLEN, static_cast<WPARAM>(item), 0);
    if (length <= 0) return {};
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    SendMessageW(combo, CB_GETLBTEXT, static_cast<WPARAM>(item), reinterpret_cast<LPARAM>(text.data()));
    return text;
}

}  // namespace

// The system makes it as high as its font wants; the edit fields beside it are given in dialog units.
void CXTPComboBox::PreSubclassWindow() {
    RECT field = {0, 0, 0, kFieldDialogUnits};
    if (!MapDialogRect(GetParent(Handle()), &field)) return;
    // What its own border adds to the height that is set shows only afterwards.
    constexpr auto kClosedField = static_cast<WPARAM>(-1);
    SendMessageW(Handle(), CB_SETITEMHEIGHT, kClosedField, field.bottom);
    RECT window = {};
    GetWindowRect(Handle(), &window);
    SendMessageW(Handle(), CB_SETITEMHEIGHT, kClosedField, 2 * field.bottom - (window.bottom - window.top));
    SendMessageW(Handle(), CB_SETITEMHEIGHT, 0, ScaleForDpi(kItemAt96Dpi));
    COMBOBOXINFO info = {};
    info.cbSize = sizeof(info);
    if (GetComboBoxInfo(Handle(), &info)) m_list.SubclassWindow(info.hwndList);
}

LRESULT CXTPComboBox::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    static constexpr std::array kMap = {
        MapMessage<WM_CTLCOLORLISTBOX, &CXTPComboBox::OnListColors>(),
        MapMessage<WM_DRAWITEM + kReflected, &CXTPComboBox::OnDrawItem>(),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    // The open list scrolls, whichever of the two has the pointer.
    if (message == WM_MOUSEWHEEL && SendMessageW(Handle(), CB_GETDROPPEDSTATE, 0, 0) != 0)
        return SendMessageW(m_list.Handle(), message, wParam, lParam);
    return CXTPControl::OnMessage(message, wParam, lParam);
}

LRESULT CXTPComboBox::OnListColors(HDC device) const {
    SetTextColor(device, Paint().GetColor(COLOR_WINDOWTEXT));
    SetBkColor(device, Paint().GetColor(COLOR_WINDOW));
    return reinterpret_cast<LRESULT>(Paint().GetBrush(Paint().GetColor(COLOR_WINDOW)));
}

LRESULT CXTPComboBox::OnDrawItem(const DRAWITEMSTRUCT& item) {
    if ((item.itemState & ODS_COMBOBOXEDIT) != 0) {
        // The closed field, drawn past WM_PAINT.
        RECT client = {};
        GetClientRect(Handle(), &client);
        OnDraw(item.hDC, client);
        Redraw();
        return TRUE;
    }
    if (item.itemID == static_cast<UINT>(-1)) return TRUE;
    const bool selected = (item.itemState & ODS_SELECTED) != 0;
    const COLORREF face = selected ? Paint().GetColor(ThemeColor::RowSelected) : Paint().GetColor(COLOR_WINDOW);
    const COLORREF text = selected ? Paint().GetColor(ThemeColor::RowSelectedText) : Paint().GetColor(COLOR_WINDOWTEXT);
    FillRect(item.hDC, &item.rcItem, Paint().GetBrush(face));
    RECT area = item.rcItem;
    area.left += ScaleForDpi(4);
    DrawControlText(item.hDC, Handle(), ItemText(Handle(), item.itemID).c_str(), area, text, DT_END_ELLIPSIS | DT_NOPREFIX);
    return TRUE;
}

void CXTPComboBox::OnDraw(HDC device, const RECT& area) {
    const COLORREF color = Paint().GetColor(IsEnabled() ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT);
    FillRect(device, &area, Paint().GetBrush(Paint().GetColor(IsEnabled() ? COLOR_WINDOW : COLOR_BTNFACE)));
    FrameRect(device, &area, Paint().GetBrush(BorderColor()));
    const RECT arrow = {area.right - ScaleForDpi(20), area.top, area.right, area.bottom};
    DrawArrow(device, arrow, color);
    RECT text = area;
    text.left += ScaleForDpi(5);
    text.right = arrow.left;
    DrawControlText(device, Handle(), ItemText(Handle(), SendMessageW(Handle(), CB_GETCURSEL, 0, 0)).c_str(), text, color,
                    DT_END_ELLIPSIS | DT_NOPREFIX);
}
