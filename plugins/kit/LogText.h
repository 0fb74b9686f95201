#pragma once
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

// Quantities in log lines.

inline std::string MegabyteText(std::uint64_t bytes) {
    constexpr std::uint64_t kMegabyte = 1 << 20;
    return std::to_string((bytes + kMegabyte / 2) / kMegabyte) + " MB";
}

// Whole seconds.
inline std::string SecondsText(std::chrono::milliseconds span) {
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(span).count()) + " s";
}

// With one digit behind the point.
inline std::string DecimalText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}
