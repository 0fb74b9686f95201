#include "support/TrafficLine.h"

#include <algorithm>

#include "common/Format.h"

namespace {

constexpr std::size_t kMarkerBytes = 3;
constexpr std::size_t kErrorBytes = 33;  // what is appended, with its terminator and room to spare
constexpr char kFieldSeparator = '\x01';

}  // namespace

std::size_t TrafficLineBytes(std::string_view text, std::uint32_t error) {
    const auto percents = static_cast<std::size_t>(std::count(text.begin(), text.end(), '%'));
    return text.size() + percents + kMarkerBytes + (error != 0 ? kErrorBytes : 1);
}

std::string_view WriteTrafficLine(std::span<char> out, bool sent, std::string_view text, std::uint32_t error) {
    constexpr std::string_view kTrimmed = " \t\r\n";
    char* end = std::copy_n(sent ? "-> " : "<- ", kMarkerBytes, out.data());
    for (const char c : text) {
        *end++ = c == kFieldSeparator ? '|' : c;
        if (c == '%') *end++ = '%';
    }
    // The marker's own blank goes as well when nothing follows it.
    std::string_view line(out.data(), end);
    line = line.substr(0, line.find_last_not_of(kTrimmed) + 1);
    if (error == 0) return line;
    const int added = FormatTo(out.subspan(line.size()), " - Error:%08X", error);
    return {out.data(), line.size() + static_cast<std::size_t>(std::max(added, 0))};
}
