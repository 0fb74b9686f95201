#pragma once
#include <algorithm>
#include <string_view>

// Ignores the case of the letters of ASCII only: protocol words, whatever the locale.
constexpr bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}
