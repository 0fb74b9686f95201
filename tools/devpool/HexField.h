#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

// Strict hexadecimal fields of a request: exactly two digits per byte, either case.
bool ReadHex(std::string_view digits, std::span<std::uint8_t> out);
// The digits after a leading "0x"; nothing when there is none.
std::optional<std::string_view> AfterPrefix(std::string_view text);
// A number of up to 64 digits with or without "0x", as a hash-rate report carries it; rounded to a double.
std::optional<double> ReadHexNumber(std::string_view text);
