#include "toolkit/Dpi.h"

#include <windows.h>

int ScaleForDpi(int pixelsAt96Dpi) {
    const HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return MulDiv(pixelsAt96Dpi, dpi, 96);
}
