#pragma once
#include <cstdint>
#include <string>

// Colours of states, as COLORREF: 0x00BBGGRR.
inline constexpr std::uint32_t kRed = 0x0000C0;
inline constexpr std::uint32_t kYellow = 0x00C0C0;
inline constexpr std::uint32_t kGreen = 0x00C000;
inline constexpr std::uint32_t kBlue = 0xFF9933;
inline constexpr std::uint32_t kLightText = 0xF0F0F0;  // on any of the others

// How far apart two colours are for reading one on the other, from 1 to 21 (WCAG 2).
double ContrastRatio(std::uint32_t first, std::uint32_t second);

// Of a problem (red) or a warning (amber), whichever shade of it reads best on the ground.
std::uint32_t NoteColor(bool isProblem, std::uint32_t ground);

// A label that shows a state.
struct LabelLook {
    std::wstring text;
    std::uint32_t background = 0;
    bool operator==(const LabelLook&) const = default;
};
