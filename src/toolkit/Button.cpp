#include "toolkit/Button.h"

#include "toolkit/Gdi.h"

namespace {

constexpr int kBoxAt96Dpi = 13;

}  // namespace

void DrawCheckMark(HDC device, const RECT& box, const CXTPPaintManager& paint, bool checked, bool enabled, COLORREF border) {
    FillRect(device, &box, paint.GetBrush(paint.GetColor(enabled ? COLOR_WINDOW : COLOR_BTNFACE)));
    FrameRect(device, &box, paint.GetBrush(border));
    if (!checked) return;
    const COLORREF color = enabled ? paint.GetColor(ThemeColor::Accent) : paint.GetColor(COLOR_GRAYTEXT);
    const PenHandle pen(CreatePen(PS_SOLID, ScaleForDpi(2), color));
    const CSelection selection(device, pen.get());
    const int size = box.right - box.left;
    MoveToEx(device, box.left + size / 4, box.top + size / 2, nullptr);
    LineTo(device, box.left + size * 9 / 20, box.top + size * 7 / 10);
    LineTo(device, box.left + size * 4 / 5, box.top + size / 4);
}

void CXTPButton::OnDraw(HDC device, const RECT& area) {
    const DWORD type = Style() & BS_TYPEMASK;
    if (type == BS_AUTOCHECKBOX || type == BS_CHECKBOX) {
        DrawCheckBox(device, area);
    } else {
        DrawPushButton(device, area);
    }
}

void CXTPButton::DrawPushButton(HDC device, const RECT& area) const {
    const auto state = SendMessageW(Handle(), BM_GETSTATE, 0, 0);
    const bool isDefault = (Style() & BS_TYPEMASK) == BS_DEFPUSHBUTTON;
    ThemeColor face = ThemeColor::ButtonFace;
    ThemeColor text = ThemeColor::ButtonText;
    ThemeColor border = HasFocus() || isDefault ? ThemeColor::ButtonBorderHot : ThemeColor::ButtonBorder;
    if (!IsEnabled()) {
        face = ThemeColor::ButtonFaceDisabled;
        text = ThemeColor::ButtonTextDisabled;
        border = ThemeColor::ButtonBorder;
    } else if ((state & BST_PUSHED) != 0) {
        face = ThemeColor::ButtonFacePressed;
        text = ThemeColor::ButtonTextPressed;
        border = ThemeColor::ButtonBorderHot;
    } else if (IsHot()) {
        face = ThemeColor::ButtonFaceHot;
        text = ThemeColor::ButtonTextHot;
        border = ThemeColor::ButtonBorderHot;
    }
    FillRect(device, &area, Paint().GetBrush(face));
    FrameRect(device, &area, Paint().GetBrush(border));
    const bool showsFocus = HasFocus() && (SendMessageW(Handle(), WM_QUERYUISTATE, 0, 0) & UISF_HIDEFOCUS) == 0;
    if (showsFocus) {
        RECT inner = area;
        InflateRect(&inner, -ScaleForDpi(2), -ScaleForDpi(2));
        FrameRect(device, &inner, Paint().GetBrush(border));
    }
    DrawControlText(device, Handle(), Text().c_str(), area, Paint().GetColor(text), DT_CENTER);
}

void CXTPButton::DrawCheckBox(HDC device, const RECT& area) const {
    FillRect(device, &area, Paint().GetBrush(Paint().GetColor(COLOR_BTNFACE)));
    const int size = ScaleForDpi(kBoxAt96Dpi);
    const int top = (area.bottom - size) / 2;
    const RECT box = {0, top, size, top + size};
    const bool checked = SendMessageW(Handle(), BM_GETCHECK, 0, 0) == BST_CHECKED;
    DrawCheckMark(device, box, Paint(), checked, IsEnabled(), BorderColor());
    RECT text = area;
    text.left = size + ScaleForDpi(6);
    DrawControlText(device, Handle(), Text().c_str(), text, Paint().GetColor(IsEnabled() ? COLOR_BTNTEXT : COLOR_GRAYTEXT),
                    0);
}
