#include "toolkit/Edit.h"

#include "toolkit/Gdi.h"

namespace {

// What the text needs, by the field's font.
int TextHeight(HWND window) {
    return FontHeight(window, FontOf(window));
}

}  // namespace

void CXTPEdit::PreSubclassWindow() {
    // The border is ours; the frame around the text is what WM_NCCALCSIZE leaves.
    SetWindowLongPtrW(Handle(), GWL_EXSTYLE,
                      GetWindowLongPtrW(Handle(), GWL_EXSTYLE) & ~static_cast<LONG_PTR>(WS_EX_CLIENTEDGE));
    SetWindowLongPtrW(Handle(), GWL_STYLE, GetWindowLongPtrW(Handle(), GWL_STYLE) & ~static_cast<LONG_PTR>(WS_BORDER));
    SetWindowPos(Handle(), nullptr, 0, 0, 0, 0, SWP_FRAMECHANGED | SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    SendMessageW(Handle(), EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELPARAM(ScaleForDpi(3), ScaleForDpi(3)));
}

LRESULT CXTPEdit::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    TrackHover(message);
    switch (message) {
        case WM_NCCALCSIZE: {
            RECT& client =
                wParam != 0 ? reinterpret_cast<NCCALCSIZE_PARAMS*>(lParam)->rgrc[0] : *reinterpret_cast<RECT*>(lParam);
            const int height = client.bottom - client.top;
            const int above = std::max(1, (height - TextHeight(Handle())) / 2);
            client.top += above;
            client.bottom -= 1;
            client.left += 1;
            client.right -= 1;
            return 0;
        }
        case WM_NCPAINT:
            DrawBorder();
            return 0;
        case WM_MOUSEHOVER:
            ShowTip();
            return 0;
        case WM_MOUSELEAVE:
        case WM_LBUTTONDOWN:
        case WM_RBUTTONDOWN:
        case WM_KEYDOWN:
        case WM_SETTEXT:
        case WM_DESTROY:
            m_tip.Hide();
            return Default(message, wParam, lParam);
        case WM_NCHITTEST:
            // The space around the text belongs to it: a click there sets the caret.
            return HTCLIENT;
        case WM_SETFOCUS:
        case WM_KILLFOCUS:
        case WM_ENABLE: {
            const LRESULT result = Default(message, wParam, lParam);
            RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME | RDW_ERASE);
            return result;
        }
        case WM_SETFONT: {
            const LRESULT result = Default(message, wParam, lParam);
            SetWindowPos(Handle(), nullptr, 0, 0, 0, 0,
                         SWP_FRAMECHANGED | SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
            return result;
        }
        case WM_THEMECHANGED:
            RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME | RDW_ERASE);
            return 0;
        case WM_CTLCOLOREDIT + kReflected:
        case WM_CTLCOLORSTATIC + kReflected:
            return Colors(reinterpret_cast<HDC>(wParam));
        default:
            return Default(message, wParam, lParam);
    }
}

LRESULT CXTPEdit::Colors(HDC device) const {
    const COLORREF background = Paint().GetColor(IsEnabled() ? COLOR_WINDOW : COLOR_BTNFACE);
    SetTextColor(device, Paint().GetColor(IsEnabled() ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT));
    SetBkColor(device, background);
    return reinterpret_cast<LRESULT>(Paint().GetBrush(background));
}

void CXTPEdit::DrawBorder() const {
    const CWindowDC screen(Handle(), CWindowDC::Area::Whole);
    const HDC device = screen.Get();
    RECT window = {};
    GetWindowRect(Handle(), &window);
    RECT client = {};
    GetClientRect(Handle(), &client);
    MapWindowPoints(Handle(), nullptr, reinterpret_cast<POINT*>(&client), 2);
    OffsetRect(&client, -window.left, -window.top);
    OffsetRect(&window, -window.left, -window.top);
    ExcludeClipRect(device, client.left, client.top, client.right, client.bottom);
    FillRect(device, &window, Paint().GetBrush(Paint().GetColor(IsEnabled() ? COLOR_WINDOW : COLOR_BTNFACE)));
    FrameRect(device, &window, Paint().GetBrush(BorderColor()));
}

void CXTPEdit::ShowTip() {
    const bool isHidden = SendMessageW(Handle(), EM_GETPASSWORDCHAR, 0, 0) != 0;
    const std::wstring text = Text();
    if (isHidden || text.empty()) return;
    const HFONT font = FontOf(Handle());
    const SIZE size = TextSize(Handle(), font, text);
    RECT place = {};
    SendMessageW(Handle(), EM_GETRECT, 0, reinterpret_cast<LPARAM>(&place));
    if (size.cx <= place.right - place.left) return;
    GetWindowRect(Handle(), &place);
    m_tip.Show(Handle(), text, font, place);
}
