#pragma once
#include <cstdint>

// The mixing step of the Ethash family: FNV's multiply, then xor.
inline constexpr std::uint32_t kFnvPrime = 0x01000193;
constexpr std::uint32_t Fnv(std::uint32_t a, std::uint32_t b) noexcept {
    return (a * kFnvPrime) ^ b;
}
