#pragma once
#include <cstdint>
#include <string>

// Colours of states, as COLORREF: 0x00BBGGRR.
inline constexpr std::uint32_t kRed = 0x0000C0;
inline constexpr std::uint32_t kYellow = 0x00C0C0;
inline constexpr std::uint32_t kGreen = 0x00C000;
inline constexpr std::uint32_t kBlue = 0xFF9933;
inline constexpr std::uint32_t kLightText = 0xF0F0F0;  // on any of the others

// A label that shows a state.
struct LabelLook {
    std::wstring text;
    std::uint32_t background = 0;
    bool operator==(const LabelLook&) const = default;
};
