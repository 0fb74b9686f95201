#include "toolkit/Gdi.h"

namespace {

RECT ClientArea(HWND window) {
    RECT area = {};
    GetClientRect(window, &area);
    return area;
}

}  // namespace

void CMemoryBitmap::CopyTo(HDC target, const RECT& place) const {
    BitBlt(target, place.left, place.top, place.right - place.left, place.bottom - place.top, Device(), 0, 0, SRCCOPY);
}

CBufferedPaint::CBufferedPaint(HWND window)
    : m_area(ClientArea(window)), m_screen(window), m_memory(m_screen.Get(), {m_area.right, m_area.bottom}) {}

HFONT FontOf(HWND control) {
    return reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0));
}

SIZE TextSize(HWND window, HFONT font, const std::wstring& text) {
    const CWindowDC device(window);
    const CSelection selection(device.Get(), font);
    SIZE size = {};
    GetTextExtentPoint32W(device.Get(), text.c_str(), static_cast<int>(text.size()), &size);
    return size;
}

int FontHeight(HWND window, HFONT font) {
    const CWindowDC device(window);
    const CSelection selection(device.Get(), font);
    TEXTMETRICW metrics = {};
    GetTextMetricsW(device.Get(), &metrics);
    return static_cast<int>(metrics.tmHeight);
}

void DrawControlText(HDC device, HWND window, const wchar_t* text, RECT area, COLORREF color, UINT format) {
    const CSelection font(device, FontOf(window));
    SetBkMode(device, TRANSPARENT);
    SetTextColor(device, color);
    DrawTextW(device, text, -1, &area, format | DT_SINGLELINE | DT_VCENTER);
}

int ScaleForDpi(int pixelsAt96Dpi) {
    return MulDiv(pixelsAt96Dpi, GetDeviceCaps(CWindowDC(nullptr).Get(), LOGPIXELSY), 96);
}
