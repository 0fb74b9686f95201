#pragma once
#include <array>
#include <cstdint>
#include <span>

// BLAKE2b without a key, 64 bytes out (RFC 7693). Pure; any thread.
std::array<std::uint8_t, 64> Blake2b512(std::span<const std::uint8_t> data);
