#pragma once
#include <windows.h>
#include <memory>
#include <string>
#include <type_traits>

// Owners of what is drawn on and with: whatever is made, borrowed or selected for drawing is given back by an object that
// goes. Each is used by its window's thread alone.

struct GdiDeleter {
    void operator()(HGDIOBJ object) const { DeleteObject(object); }
};
template <typename Handle>
using GdiOwner = std::unique_ptr<std::remove_pointer_t<Handle>, GdiDeleter>;
using BrushHandle = GdiOwner<HBRUSH>;
using PenHandle = GdiOwner<HPEN>;
using FontHandle = GdiOwner<HFONT>;
using BitmapHandle = GdiOwner<HBITMAP>;
using RegionHandle = GdiOwner<HRGN>;

// The device context of a window's client area or, with its frame, of the whole of it; without a window the screen's.
class CWindowDC {
  public:
    enum class Area { Client, Whole };
    explicit CWindowDC(HWND window, Area area = Area::Client)
        : m_window(window), m_device(area == Area::Client ? GetDC(window) : GetWindowDC(window)) {}
    ~CWindowDC() { ReleaseDC(m_window, m_device); }
    CWindowDC(const CWindowDC&) = delete;
    CWindowDC& operator=(const CWindowDC&) = delete;

    HDC Get() const { return m_device; }  // null where the system has none

  private:
    HWND m_window;
    HDC m_device;
};

// The drawing of one WM_PAINT.
class CPaintDC {
  public:
    explicit CPaintDC(HWND window) : m_window(window), m_device(BeginPaint(window, &m_paint)) {}
    ~CPaintDC() { EndPaint(m_window, &m_paint); }
    CPaintDC(const CPaintDC&) = delete;
    CPaintDC& operator=(const CPaintDC&) = delete;

    HDC Get() const { return m_device; }

  private:
    HWND m_window;
    PAINTSTRUCT m_paint = {};
    HDC m_device;
};

// An object in a device context, until the one before comes back. Null selects nothing.
class CSelection {
  public:
    CSelection(HDC device, HGDIOBJ object)
        : m_device(device), m_former(object != nullptr ? SelectObject(device, object) : nullptr) {}
    ~CSelection() {
        if (m_former != nullptr) SelectObject(m_device, m_former);
    }
    CSelection(const CSelection&) = delete;
    CSelection& operator=(const CSelection&) = delete;

  private:
    HDC m_device;
    HGDIOBJ m_former;
};

// A bitmap in memory to draw into before it is shown.
class CMemoryBitmap {
  public:
    CMemoryBitmap(HDC target, SIZE size)
        : m_device(CreateCompatibleDC(target)),
          m_bitmap(CreateCompatibleBitmap(target, size.cx, size.cy)),
          m_selection(m_device.get(), m_bitmap.get()) {}

    HDC Device() const { return m_device.get(); }
    // Its top left part to the place.
    void CopyTo(HDC target, const RECT& place) const;

  private:
    struct DeviceDeleter {
        void operator()(HDC device) const { DeleteDC(device); }
    };
    std::unique_ptr<std::remove_pointer_t<HDC>, DeviceDeleter> m_device;
    BitmapHandle m_bitmap;
    CSelection m_selection;
};

// One WM_PAINT, drawn in memory and shown at once when the object goes.
class CBufferedPaint {
  public:
    explicit CBufferedPaint(HWND window);
    ~CBufferedPaint() { m_memory.CopyTo(m_screen.Get(), m_area); }

    HDC Device() const { return m_memory.Device(); }
    const RECT& Area() const { return m_area; }

  private:
    RECT m_area;
    CPaintDC m_screen;
    CMemoryBitmap m_memory;
};

// The font that a control was told to use; null: the system's.
HFONT FontOf(HWND control);
// Of one line, in pixels. No font: the device context's own.
SIZE TextSize(HWND window, HFONT font, const std::wstring& text);
// Of a line with its room for letters that go deep, in pixels.
int FontHeight(HWND window, HFONT font);
// Draws one line of text in the window's own font; format: of DrawText, beside DT_SINGLELINE | DT_VCENTER.
void DrawControlText(HDC device, HWND window, const wchar_t* text, RECT area, COLORREF color, UINT format);

// Pixels for a length given at 96 dpi, at the system's resolution (which the whole process uses). GUI thread.
int ScaleForDpi(int pixelsAt96Dpi);
