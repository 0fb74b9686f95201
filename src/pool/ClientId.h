#pragma once
#include <cstdint>
#include <string>

// The id under which a session reports its hash rate: "0x" and 64 lower-case digits, the 32 bytes of the first four draws of
// std::mt19937_64 seeded so, each draw least significant byte first.
std::wstring MakeClientId(std::uint32_t seed);
// Seeded by std::random_device.
std::wstring MakeClientId();
