#pragma once
#include <cstddef>
#include <string>
#include <string_view>

// Texts that the user types into a field of fixed length, which is kept as narrow text. Portable; any thread.

// Without white space at either end.
std::wstring Trimmed(std::wstring_view text);

// Why the text cannot be kept, for the user; empty when it can: at most maxChars, no control characters, nothing that the
// system's code page lacks or cannot hold in one byte.
std::wstring CheckFieldText(std::wstring_view text, std::size_t maxChars);
