#include "toolkit/Dpi.h"

#include "toolkit/Gdi.h"

int ScaleForDpi(int pixelsAt96Dpi) {
    return MulDiv(pixelsAt96Dpi, GetDeviceCaps(CWindowDC(nullptr).Get(), LOGPIXELSY), 96);
}
