#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

// Hexadecimal text for the tests' tables; independent of the code under test.

template <std::size_t kSize>
std::array<std::uint8_t, kSize> Bytes(std::string_view digits) {
    std::array<std::uint8_t, kSize> bytes{};
    for (std::size_t i = 0; i < kSize; ++i) {
        bytes[i] = static_cast<std::uint8_t>(std::strtoul(std::string(digits.substr(2 * i, 2)).c_str(), nullptr, 16));
    }
    return bytes;
}

inline std::string Digits(std::span<const std::uint8_t> bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes)
        text += {kDigits[byte >> 4], kDigits[byte & 15]};
    return text;
}
