#pragma once
#include <cstddef>
#include <string_view>

inline constexpr std::size_t kSmallLine = 64 * 1024;
inline constexpr std::size_t kMaximumValues = 500'000;
inline constexpr std::size_t kMaximumDepth = 1000;

// Whether parsing a line takes memory in proportion to its text. One value takes many times the two bytes it can be written
// in, so a long line (one of more than kSmallLine bytes) may hold at most kMaximumValues values, nested kMaximumDepth deep;
// its texts may be of any length.
bool IsReasonableLine(std::string_view line);
