#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// Two lower-case digits per byte, stopping when the output is full. Returns the number of characters written.
std::size_t HexEncode(std::span<const std::uint8_t> bytes, std::span<char> out) noexcept;
std::string HexText(std::span<const std::uint8_t> bytes);

// Pairs of digits, high nibble first; any other character counts as 0. Stops at the end of either. Returns bytes written.
std::size_t HexDecode(std::string_view digits, std::span<std::uint8_t> out) noexcept;
