#pragma once
#include <cstdint>
#include <string>
#include "common/Time.h"

// The time as the system tells and writes it. Windows only; any thread.

enum class TimeMode : std::int32_t { None = 0, Utc = 1, Local = 2 };

// None: no time. Local: UTC less the bias that the time zone has at this moment.
ddt_datetime CurrentTime(TimeMode mode) noexcept;

// Local time of a point in UTC, by the bias that the time zone has now (not by the one it had then).
ddt_datetime LocalFromUtc(ddt_datetime utc) noexcept;

// 0 when the time has no calendar date (it is negative).
std::uint32_t YearOf(ddt_datetime time) noexcept;

// In the user's default locale, by a picture of GetDateFormatEx or GetTimeFormatEx; null: the locale's own format.
// No time gives an empty text; so does a date that cannot be formatted, while such a time gives "NaT".
// millisecondFormat: appended when not null, with the milliseconds as its one integer argument, such as L".%03d".
std::wstring DateText(ddt_datetime time, const wchar_t* format);
std::wstring TimeText(ddt_datetime time, const wchar_t* format, const wchar_t* millisecondFormat = nullptr);
