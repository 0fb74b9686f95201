#pragma once
#include <cstdint>

// How a pool is spoken to. The numbers are those of the work block and of the log.
enum class ProtocolMode : std::int32_t { None = -1, EthProxy = 0, Plain = 1, NiceHash = 2, Host = 3 };

constexpr std::int32_t ModeNumber(ProtocolMode mode) {
    return static_cast<std::int32_t>(mode);
}

// The mode tried after this one; Host is the last.
constexpr ProtocolMode NextMode(ProtocolMode mode) {
    return mode == ProtocolMode::Host ? mode : static_cast<ProtocolMode>(ModeNumber(mode) + 1);
}
