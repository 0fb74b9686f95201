#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Texts that the user types into a field of fixed length, which is kept as narrow text. Portable; any thread.

// Without white space at either end.
std::wstring Trimmed(std::wstring_view text);

// Why the text cannot be kept, for the user; empty when it can: at most maxChars, no control characters, nothing that the
// system's code page lacks or cannot hold in one byte.
std::wstring CheckFieldText(std::wstring_view text, std::size_t maxChars);

struct PortResult {
    std::uint32_t port = 0;  // 1 to 65535 when there is no reason
    std::wstring reason;     // why the text is no port; for the user
};

// Digits alone are a port, with white space around them or not. Portable; any thread.
PortResult ParsePort(std::wstring_view typed);
