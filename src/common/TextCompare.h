#pragma once
#include <algorithm>
#include <cstddef>
#include <string_view>

// Ignores the case of the letters of ASCII only: protocol words, whatever the locale.
constexpr bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

// Takes the same time for every difference between texts of one length: for secrets.
inline bool EqualSecrets(std::string_view given, std::string_view expected) noexcept {
    if (given.size() != expected.size()) return false;
    // Volatile: the compiler is not to find out that the answer may be known before the end.
    volatile unsigned difference = 0;
    for (std::size_t i = 0; i < expected.size(); ++i)
        difference = difference | (static_cast<unsigned char>(given[i]) ^ static_cast<unsigned char>(expected[i]));
    return difference == 0;
}
