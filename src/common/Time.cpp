#include "common/Time.h"

#include "common/Format.h"

std::wstring SpanText(TimeSpan span, bool withMilliseconds) {
    // Unsigned, because the smallest span has no positive counterpart.
    const std::uint64_t ticks = span < 0 ? 0 - static_cast<std::uint64_t>(span) : static_cast<std::uint64_t>(span);
    const std::uint64_t days = ticks / kTicksPerDay;
    const auto ofDay = static_cast<std::int64_t>(ticks % kTicksPerDay);
    const auto seconds = static_cast<int>(ofDay / kTicksPerSecond);

    char text[48] = {};
    std::size_t length = 0;
    const auto append = [&](int written) { length += static_cast<std::size_t>(written); };
    const auto rest = [&] { return std::span<char>(text).subspan(length); };
    if (span < 0) append(FormatTo(rest(), "-"));
    if (days > 0) append(FormatTo(rest(), "%d ", static_cast<int>(days)));
    append(FormatTo(rest(), "%02d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60));
    if (withMilliseconds) {
        append(FormatTo(rest(), ".%03d", static_cast<int>(ofDay % kTicksPerSecond / kTicksPerMillisecond)));
    }
    return {text, text + length};
}
