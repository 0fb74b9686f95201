#include "toolkit/ListBox.h"

#include "toolkit/Button.h"
#include "toolkit/Gdi.h"
#include "toolkit/MessageMap.h"

namespace {

constexpr int kBoxAt96Dpi = 13;
constexpr int kItemAt96Dpi = 22;
constexpr int kMarginAt96Dpi = 5;

}  // namespace

void CXTPListBox::PreSubclassWindow() {
    SetWindowLongPtrW(Handle(), GWL_EXSTYLE,
                      GetWindowLongPtrW(Handle(), GWL_EXSTYLE) & ~static_cast<LONG_PTR>(WS_EX_CLIENTEDGE));
    SetWindowLongPtrW(Handle(), GWL_STYLE, GetWindowLongPtrW(Handle(), GWL_STYLE) | WS_BORDER);
    SetWindowPos(Handle(), nullptr, 0, 0, 0, 0, SWP_FRAMECHANGED | SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    SendMessageW(Handle(), LB_SETITEMHEIGHT, 0, ScaleForDpi(kItemAt96Dpi));
}

void CXTPListBox::SetItemText(int item, const std::wstring& text) {
    if (ItemText(static_cast<UINT>(item)) == text) return;
    const int selected = Selected();
    const LRESULT top = SendMessageW(Handle(), LB_GETTOPINDEX, 0, 0);
    const LRESULT data = SendMessageW(Handle(), LB_GETITEMDATA, static_cast<WPARAM>(item), 0);
    // A list box cannot change a text.
    SendMessageW(Handle(), WM_SETREDRAW, FALSE, 0);
    Remove(item);
    SendMessageW(Handle(), LB_INSERTSTRING, static_cast<WPARAM>(item), reinterpret_cast<LPARAM>(text.c_str()));
    SendMessageW(Handle(), LB_SETITEMDATA, static_cast<WPARAM>(item), data);
    Select(selected);
    SendMessageW(Handle(), LB_SETTOPINDEX, static_cast<WPARAM>(top), 0);
    SendMessageW(Handle(), WM_SETREDRAW, TRUE, 0);
    Redraw();
}

std::wstring CXTPListBox::ItemText(UINT item) const {
    std::wstring text(static_cast<std::size_t>(SendMessageW(Handle(), LB_GETTEXTLEN, item, 0)), L'\0');
    SendMessageW(Handle(), LB_GETTEXT, item, reinterpret_cast<LPARAM>(text.data()));
    return text;
}

void CXTPListBox::SetChecked(int item, bool checked) {
    if (IsChecked(item) == checked) return;
    SendMessageW(Handle(), LB_SETITEMDATA, static_cast<WPARAM>(item), checked ? 1 : 0);
    Redraw();
}

void CXTPListBox::Toggle(int item) {
    if (item < 0 || !IsEnabled()) return;
    SetChecked(item, !IsChecked(item));
    const auto id = static_cast<WORD>(GetDlgCtrlID(Handle()));
    SendMessageW(GetParent(Handle()), WM_COMMAND, MAKEWPARAM(id, kItemChecked), reinterpret_cast<LPARAM>(Handle()));
}

RECT CXTPListBox::CheckBoxIn(const RECT& item) const {
    const int size = ScaleForDpi(kBoxAt96Dpi);
    const int left = item.left + ScaleForDpi(kMarginAt96Dpi);
    const int top = (item.top + item.bottom - size) / 2;
    return {left, top, left + size, top + size};
}

LRESULT CXTPListBox::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    static constexpr std::array kMap = {
        MapMessage<WM_CHAR, &CXTPListBox::OnCharacter>(),
        MapMessage<WM_LBUTTONDOWN, &CXTPListBox::OnClick>(),
        MapMessage<WM_LBUTTONDBLCLK, &CXTPListBox::OnClick>(),
        MapMessage<WM_DRAWITEM + kReflected, &CXTPListBox::OnDrawItem>(),
        MapMessage<WM_THEMECHANGED, &CXTPListBox::OnThemeChanged>(),
    };
    TrackHover(message);
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    const LRESULT result = CXTPScrolledList::OnMessage(message, wParam, lParam);
    if (message == WM_SETFOCUS || message == WM_KILLFOCUS)
        RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME);
    return result;
}

bool CXTPListBox::OnCharacter(WPARAM character) {
    if (m_kind != Kind::Checks || character != L' ') return false;
    Toggle(Selected());
    return true;
}

std::optional<LRESULT> CXTPListBox::OnClick(POINT point, WPARAM keys) {
    if (m_kind != Kind::Checks) return std::nullopt;
    // Of two quick clicks each counts.
    const LRESULT result = CXTPScrolledList::OnMessage(WM_LBUTTONDOWN, keys, MAKELPARAM(point.x, point.y));
    RECT place = {};
    const int item = Selected();
    SendMessageW(Handle(), LB_GETITEMRECT, static_cast<WPARAM>(item), reinterpret_cast<LPARAM>(&place));
    place.right = CheckBoxIn(place).right + ScaleForDpi(kMarginAt96Dpi);
    if (PtInRect(&place, point)) Toggle(item);
    return result;
}

void CXTPListBox::OnThemeChanged() const {
    RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME | RDW_ERASE);
}

LRESULT CXTPListBox::OnDrawItem(const DRAWITEMSTRUCT& item) const {
    const bool selected = (item.itemState & ODS_SELECTED) != 0 && item.itemID != static_cast<UINT>(-1);
    const bool focused = HasFocus();
    const COLORREF face = !selected ? Paint().GetColor(COLOR_WINDOW)
                                    : Paint().GetColor(focused ? ThemeColor::RowSelected : ThemeColor::RowSelectedInactive);
    const COLORREF text = selected && focused ? Paint().GetColor(ThemeColor::RowSelectedText)
                                              : Paint().GetColor(IsEnabled() ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT);
    FillRect(item.hDC, &item.rcItem, Paint().GetBrush(face));
    if (item.itemID == static_cast<UINT>(-1)) return TRUE;
    RECT area = item.rcItem;
    if (m_kind == Kind::Checks) {
        const RECT box = CheckBoxIn(item.rcItem);
        DrawCheckMark(item.hDC, box, Paint(), item.itemData == 1, IsEnabled(), Paint().GetColor(ThemeColor::FieldBorder));
        area.left = box.right;
    }
    area.left += ScaleForDpi(kMarginAt96Dpi);
    DrawControlText(item.hDC, Handle(), ItemText(item.itemID).c_str(), area, text, DT_END_ELLIPSIS | DT_NOPREFIX);
    return TRUE;
}
