#pragma once
#include <windows.h>

// The colour, moved towards the fallback as far as needed to stand out from the background.
COLORREF ReadableReportColor(COLORREF color, COLORREF background, COLORREF fallback);
