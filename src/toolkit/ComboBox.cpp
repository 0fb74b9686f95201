#include "toolkit/ComboBox.h"

#include <string>

#include "toolkit/BufferedPaint.h"
#include "toolkit/Dpi.h"

namespace {

constexpr int kArrowAt96Dpi = 7;
constexpr int kItemAt96Dpi = 20;
constexpr int kFieldDialogUnits = 14;

void DrawArrow(HDC device, const RECT& place, COLORREF color) {
    const int half = ScaleForDpi(kArrowAt96Dpi) / 2;
    const int x = (place.left + place.right) / 2;
    const int y = (place.top + place.bottom) / 2 - half / 2;
    const HPEN pen = CreatePen(PS_SOLID, ScaleForDpi(1), color);
    const HGDIOBJ previous = SelectObject(device, pen);
    MoveToEx(device, x - half, y, nullptr);
    LineTo(device, x, y + half);
    LineTo(device, x + half + 1, y - 1);
    SelectObject(device, previous);
    DeleteObject(pen);
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
}

LRESULT CXTPComboBox::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CTLCOLORLISTBOX) {
        const auto device = reinterpret_cast<HDC>(wParam);
        SetTextColor(device, Paint().GetColor(COLOR_WINDOWTEXT));
        SetBkColor(device, Paint().GetColor(COLOR_WINDOW));
        return reinterpret_cast<LRESULT>(Paint().GetBrush(Paint().GetColor(COLOR_WINDOW)));
    }
    if (message == WM_DRAWITEM + kReflected) {
        DrawItem(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
        return TRUE;
    }
    return CXTPControl::OnMessage(message, wParam, lParam);
}

void CXTPComboBox::DrawItem(const DRAWITEMSTRUCT& item) const {
    if ((item.itemState & ODS_COMBOBOXEDIT) != 0 || item.itemID == static_cast<UINT>(-1)) return;  // OnDraw's
    const bool selected = (item.itemState & ODS_SELECTED) != 0;
    const COLORREF face = selected ? Paint().GetColor(ThemeColor::RowSelected) : Paint().GetColor(COLOR_WINDOW);
    const COLORREF text = selected ? Paint().GetColor(ThemeColor::RowSelectedText) : Paint().GetColor(COLOR_WINDOWTEXT);
    FillRect(item.hDC, &item.rcItem, Paint().GetBrush(face));
    RECT area = item.rcItem;
    area.left += ScaleForDpi(4);
    DrawControlText(item.hDC, Handle(), ItemText(Handle(), item.itemID).c_str(), area, text, DT_END_ELLIPSIS | DT_NOPREFIX);
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
