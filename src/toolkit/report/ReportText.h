#pragma once
#include <windows.h>
#include <cstddef>
#include <string>
#include "toolkit/report/ReportState.h"

// The colour, moved towards the fallback as far as needed to stand out from the background.
COLORREF ReadableReportColor(COLORREF color, COLORREF background, COLORREF fallback);

// The row's cells, separated by tabs, in the order of the columns.
std::wstring ReportRowText(const ReportState& state, int row);
// The captions and all rows in that form, one a line. Stops once it is at least so many characters long.
std::wstring ReportText(const ReportState& state, std::size_t enough);
// The width that the column's caption and texts need, in pixels. Of a long grid only rows near the visible ones are
// measured.
int ReportContentWidth(HWND window, const ReportState& state, int column);
