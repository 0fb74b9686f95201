#pragma once
#include <cstdint>
#include <string>

inline constexpr std::size_t kMaximumHostCharacters = 259;

// Takes the port off a host's text in place and returns it:
//     "host:port" is cut at the colon; the port is the decimal number behind it, modulo 65536 (0 when there is none)
//     "[IPv6]:port" and "[IPv6]" are left without their brackets; without a colon: defaultPort
//     an IPv6 address without brackets, a text without a colon and one with "://" are left as they are: defaultPort
std::uint32_t CutPort(std::wstring& hostText, std::uint32_t defaultPort);
