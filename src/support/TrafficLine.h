#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// The text of one line of protocol traffic. Portable; no state.

// Bytes that WriteTrafficLine needs at most for this text.
std::size_t TrafficLineBytes(std::string_view text, std::uint32_t error);

// Marker, text and error as CBKLogSystem::LogTraffic describes them, into a buffer of at least TrafficLineBytes.
std::string_view WriteTrafficLine(std::span<char> out, bool sent, std::string_view text, std::uint32_t error);
