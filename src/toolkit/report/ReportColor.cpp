#include "toolkit/report/ReportColor.h"

#include <algorithm>
#include <cmath>

namespace {

// Relative luminance as in WCAG 2.
double Luminance(COLORREF color) {
    const auto linear = [](BYTE channel) {
        const double value = channel / 255.0;
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(GetRValue(color)) + 0.7152 * linear(GetGValue(color)) + 0.0722 * linear(GetBValue(color));
}

double Contrast(COLORREF a, COLORREF b) {
    const double first = Luminance(a);
    const double second = Luminance(b);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

COLORREF Mix(COLORREF a, COLORREF b, int percentOfB) {
    const auto channel = [percentOfB](BYTE from, BYTE to) { return (from * (100 - percentOfB) + to * percentOfB) / 100; };
    return RGB(channel(GetRValue(a), GetRValue(b)), channel(GetGValue(a), GetGValue(b)),
               channel(GetBValue(a), GetBValue(b)));
}

}  // namespace

COLORREF ReadableReportColor(COLORREF color, COLORREF background, COLORREF fallback) {
    constexpr double kLeastContrast = 3.0;  // WCAG 2 for large text and marks
    for (int percent = 0; percent < 100; percent += 20) {
        const COLORREF mixed = Mix(color, fallback, percent);
        if (Contrast(mixed, background) >= kLeastContrast) return mixed;
    }
    return fallback;
}
