#include "common/SystemTime.h"

#include <windows.h>

#include "common/Format.h"

namespace {

// Longer than any locale's date or time; a picture that needs more fails like a malformed one.
constexpr int kTextChars = 256;

bool ToSystemTime(ddt_datetime time, SYSTEMTIME& system) {
    ULARGE_INTEGER ticks;
    ticks.QuadPart = static_cast<ULONGLONG>(time.ticks);
    const FILETIME file{ticks.LowPart, ticks.HighPart};
    return FileTimeToSystemTime(&file, &system) != FALSE;
}

}  // namespace

ddt_datetime CurrentTime(TimeMode mode) noexcept {
    if (mode == TimeMode::None) return {};
    FILETIME file;
    GetSystemTimeAsFileTime(&file);
    ULARGE_INTEGER ticks;
    ticks.LowPart = file.dwLowDateTime;
    ticks.HighPart = file.dwHighDateTime;
    const ddt_datetime utc{static_cast<std::int64_t>(ticks.QuadPart)};
    return mode == TimeMode::Local ? LocalFromUtc(utc) : utc;
}

ddt_datetime LocalFromUtc(ddt_datetime utc) noexcept {
    TIME_ZONE_INFORMATION zone = {};
    const DWORD result = GetTimeZoneInformation(&zone);
    return LocalFromUtc(utc, {zone.Bias, zone.StandardBias, zone.DaylightBias}, result);
}

std::uint32_t YearOf(ddt_datetime time) noexcept {
    SYSTEMTIME system;
    return ToSystemTime(time, system) ? system.wYear : 0;
}

std::wstring DateText(ddt_datetime time, const wchar_t* format) {
    SYSTEMTIME system;
    wchar_t text[kTextChars];
    if (!time.IsSet() || !ToSystemTime(time, system)) return {};
    if (GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &system, format, text, kTextChars, nullptr) == 0) return {};
    return text;
}

std::wstring TimeText(ddt_datetime time, const wchar_t* format, const wchar_t* millisecondFormat) {
    if (!time.IsSet()) return {};
    SYSTEMTIME system;
    wchar_t text[kTextChars];
    if (!ToSystemTime(time, system) ||
        GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &system, format, text, kTextChars) == 0) {
        return L"NaT";
    }
    std::wstring result = text;
    if (millisecondFormat != nullptr) {
        FormatTo(text, millisecondFormat, static_cast<int>(time.ticks % kTicksPerSecond / kTicksPerMillisecond));
        result += text;
    }
    return result;
}
