#pragma once
#include <cstdint>
#include <string>

inline constexpr std::size_t kMaximumHostCharacters = 259;

// Cuts "host:port" at its first colon in place and returns the decimal number behind it, modulo 65536 (0 when there is
// none). A text without a colon is left as it is and gives defaultPort.
std::uint32_t CutPort(std::wstring& hostText, std::uint32_t defaultPort);
