#pragma once
#include "DeviceBuiltins.h"
#include "KernelParameters.h"

// Arithmetic of the Ethash family on the device.

QV_DEVICE unsigned Fnv(unsigned a, unsigned b) {
    return (a * 0x01000193u) ^ b;
}

QV_DEVICE Words4 Fnv(const Words4& a, const Words4& b) {
    return {Fnv(a.x, b.x), Fnv(a.y, b.y), Fnv(a.z, b.z), Fnv(a.w, b.w)};
}

// number % divisor.value, for divisors above 1. The quotient by the reciprocal is at most one too small; where the
// subtraction is one too many it wraps to a larger number.
QV_DEVICE unsigned Remainder(unsigned number, const EthashDivisor& divisor) {
    const unsigned remainder = number - MultiplyHigh(number, divisor.reciprocal) * divisor.value;
    const unsigned corrected = remainder - divisor.value;
    return corrected < remainder ? corrected : remainder;
}

// Where the element of that index begins.
template <unsigned kElementBytes>
QV_DEVICE const Words4* ElementAt(const Words4* start, unsigned index) {
    return start + static_cast<unsigned long long>(index) * (kElementBytes / sizeof(Words4));
}

template <unsigned kIndex>
QV_DEVICE unsigned Component(const Words4& words) {
    if constexpr (kIndex == 0) return words.x;
    if constexpr (kIndex == 1) return words.y;
    if constexpr (kIndex == 2) return words.z;
    if constexpr (kIndex == 3) return words.w;
}

QV_DEVICE unsigned LowWord(unsigned long long word) {
    return static_cast<unsigned>(word);
}

QV_DEVICE unsigned HighWord(unsigned long long word) {
    return static_cast<unsigned>(word >> 32);
}

QV_DEVICE unsigned long long JoinWords(unsigned low, unsigned high) {
    return static_cast<unsigned long long>(high) << 32 | low;
}

QV_DEVICE unsigned long long ReverseBytes(unsigned long long word) {
    return __builtin_bswap64(word);
}
