#pragma once
#include <array>
#include <cstdint>
#include <span>

// Keccak with the original padding (one 0x01 byte), as the Ethash family uses it: not the SHA-3 of FIPS 202. Pure; any
// thread.

std::array<std::uint8_t, 32> Keccak256(std::span<const std::uint8_t> data);
std::array<std::uint8_t, 64> Keccak512(std::span<const std::uint8_t> data);

// Keccak-512 of 64 bytes in place: sixteen little-endian words.
void Keccak512InPlace(std::uint32_t* words) noexcept;
