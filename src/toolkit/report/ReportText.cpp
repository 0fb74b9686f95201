#include "toolkit/report/ReportText.h"

#include <algorithm>
#include <cmath>

#include "toolkit/Gdi.h"

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

namespace {

int TextWidth(HDC dc, const std::wstring& text) {
    SIZE size = {};
    GetTextExtentPoint32W(dc, text.data(), static_cast<int>(text.size()), &size);
    return static_cast<int>(size.cx);
}

}  // namespace

std::wstring ReportRowText(const ReportState& state, int row) {
    std::wstring text;
    ReportItemMetrics metrics;
    for (std::size_t i = 0; i < state.columns.size(); ++i) {
        state.Row(row).GetItemMetrics(state.columns[i].ItemIndex(), metrics);
        if (i > 0) text += L'\t';
        text += metrics.text;
    }
    return text;
}

std::wstring ReportText(const ReportState& state, std::size_t enough) {
    std::wstring text;
    for (std::size_t i = 0; i < state.columns.size(); ++i) {
        if (i > 0) text += L'\t';
        text += state.columns[i].Caption();
    }
    for (int row = 0; row < state.rowCount && text.size() < enough; ++row)
        text += L'\n' + ReportRowText(state, row);
    return text;
}

int ReportContentWidth(HWND window, const ReportState& state, int column) {
    constexpr int kMostRows = 1000;
    const CXTPReportColumn& measured = state.columns[static_cast<std::size_t>(column)];
    const CWindowDC screen(window);
    const HDC dc = screen.Get();
    const CSelection selection(dc, state.font);
    int widest = TextWidth(dc, measured.Caption());
    const int first = std::clamp(state.scroll.topRow - kMostRows / 2, 0, std::max(state.rowCount - kMostRows, 0));
    ReportItemMetrics metrics;
    for (int row = first; row < state.rowCount && row - first < kMostRows; ++row) {
        state.Row(row).GetItemMetrics(measured.ItemIndex(), metrics);
        widest = std::max(widest, TextWidth(dc, metrics.text));
    }
    return widest + 2 * state.metrics.padding + 1;
}
