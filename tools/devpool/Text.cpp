#include "Text.h"

#include <array>
#include <charconv>

std::string NumberText(double value, int decimals) {
    std::array<char, 400> buffer{};
    char* const end = buffer.data() + buffer.size();
    const auto written = decimals < 0 ? std::to_chars(buffer.data(), end, value)
                                      : std::to_chars(buffer.data(), end, value, std::chars_format::fixed, decimals);
    return {buffer.data(), written.ptr};
}

std::string RateText(double hashesPerSecond) {
    constexpr std::array kUnits = {" H/s", " kH/s", " MH/s", " GH/s", " TH/s"};
    std::size_t unit = 0;
    while (hashesPerSecond >= 1000 && unit + 1 < kUnits.size()) {
        hashesPerSecond /= 1000;
        ++unit;
    }
    return NumberText(hashesPerSecond, 3) + kUnits[unit];
}

std::string Printable(std::string_view text) {
    std::string shown(text.substr(0, 64));
    for (char& c : shown) {
        if (c < ' ' || c > '~') c = '?';
    }
    return shown;
}
