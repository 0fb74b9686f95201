#pragma once
#include <cstdint>
#include <string>
#include <string_view>

struct PortResult {
    std::uint32_t port = 0;  // 1 to 65535 when there is no reason
    std::wstring reason;     // why the text is no port; for the user
};

// Digits alone are a port, with white space around them or not. Portable; any thread.
PortResult ParsePort(std::wstring_view typed);
