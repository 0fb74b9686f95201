#pragma once
#include <cstddef>
#include <string>
#include <string_view>

// Text of a rig made fit for terminals, pages and metrics: well-formed UTF-8 without control characters, which become
// U+FFFD, of at most maxBytes bytes (cut between characters).
std::string CleanText(std::string_view text, std::size_t maxBytes);

// Printable ASCII throughout. Only that reaches a rig unchanged, whatever its code page.
bool IsPlainAscii(std::string_view text) noexcept;

// Without blanks, tabs and line ends at either side.
std::string_view Trimmed(std::string_view text) noexcept;
