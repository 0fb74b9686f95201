#pragma once
#include <optional>
#include <string>
#include <string_view>

// True for well-formed UTF-8: no overlong forms, surrogates or values above 10FFFF (RFC 3629).
bool IsValidUtf8(std::string_view text) noexcept;

// Takes the first character off the text, which must not be empty. Nothing: it is malformed, and one byte was taken off.
std::optional<char32_t> TakeUtf8(std::string_view& text) noexcept;

// code: at most 10FFFF.
void AppendUtf8(std::string& out, char32_t code);
