#pragma once
#include <windows.h>

// One WM_PAINT, drawn in memory and shown at once when the object goes.
class CBufferedPaint {
  public:
    explicit CBufferedPaint(HWND window) : m_window(window), m_screen(BeginPaint(window, &m_paint)) {
        GetClientRect(window, &m_area);
        m_memory = CreateCompatibleDC(m_screen);
        m_bitmap = CreateCompatibleBitmap(m_screen, m_area.right, m_area.bottom);
        m_previous = SelectObject(m_memory, m_bitmap);
    }
    ~CBufferedPaint() {
        BitBlt(m_screen, 0, 0, m_area.right, m_area.bottom, m_memory, 0, 0, SRCCOPY);
        SelectObject(m_memory, m_previous);
        DeleteObject(m_bitmap);
        DeleteDC(m_memory);
        EndPaint(m_window, &m_paint);
    }
    CBufferedPaint(const CBufferedPaint&) = delete;
    CBufferedPaint& operator=(const CBufferedPaint&) = delete;

    HDC Device() const { return m_memory; }
    const RECT& Area() const { return m_area; }

  private:
    HWND m_window;
    PAINTSTRUCT m_paint = {};
    HDC m_screen;
    RECT m_area = {};
    HDC m_memory = nullptr;
    HBITMAP m_bitmap = nullptr;
    HGDIOBJ m_previous = nullptr;
};

// Draws one line of text in the window's own font; format: of DrawText, beside DT_SINGLELINE | DT_VCENTER.
inline void DrawControlText(HDC device, HWND window, const wchar_t* text, RECT area, COLORREF color, UINT format) {
    const auto font = reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0));
    const HGDIOBJ previous = font != nullptr ? SelectObject(device, font) : nullptr;
    SetBkMode(device, TRANSPARENT);
    SetTextColor(device, color);
    DrawTextW(device, text, -1, &area, format | DT_SINGLELINE | DT_VCENTER);
    if (previous != nullptr) SelectObject(device, previous);
}
