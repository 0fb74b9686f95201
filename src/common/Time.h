#pragma once
#include <compare>
#include <cstdint>
#include <string>

// Points in time and spans, in 100-ns ticks: the scale of FILETIME.

inline constexpr std::int64_t kTicksPerMillisecond = 10'000;
inline constexpr std::int64_t kTicksPerSecond = 10'000'000;
inline constexpr std::int64_t kTicksPerMinute = 600'000'000;
inline constexpr std::int64_t kTicksPerDay = 864'000'000'000;

// A point in time: ticks since 1601-01-01; 0 means no time.
struct ddt_datetime {
    std::int64_t ticks = 0;
    constexpr auto operator<=>(const ddt_datetime&) const = default;
    constexpr bool IsSet() const { return ticks != 0; }
};

using TimeSpan = std::int64_t;

constexpr TimeSpan MinutesToSpan(std::int64_t minutes) {
    return minutes * kTicksPerMinute;
}

// "[-][days ]hh:mm:ss[.mmm]".
std::wstring SpanText(TimeSpan span, bool withMilliseconds = false);

// The three biases of TIME_ZONE_INFORMATION, in minutes: UTC = local time + bias.
struct ZoneBias {
    std::int32_t bias = 0;
    std::int32_t standardBias = 0;
    std::int32_t daylightBias = 0;
};

// zoneResult is what GetTimeZoneInformation returned: 1 standard time, 2 daylight time, anything else: bias alone applies.
constexpr ddt_datetime LocalFromUtc(ddt_datetime utc, const ZoneBias& zone, std::uint32_t zoneResult) {
    std::int64_t minutes = zone.bias;
    if (zoneResult == 1) minutes += zone.standardBias;
    if (zoneResult == 2) minutes += zone.daylightBias;
    return {utc.ticks - MinutesToSpan(minutes)};
}
