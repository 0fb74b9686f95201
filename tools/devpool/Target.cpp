#include "Target.h"

#include <cmath>

namespace {

// Adds value * 2^shift; whatever lies above 256 bits is lost.
void Place(Hash256& number, std::uint64_t value, unsigned shift) {
    const unsigned bits = shift % 8;
    const std::uint64_t low = value << bits;
    const std::uint64_t high = bits == 0 ? 0 : value >> (64 - bits);
    for (unsigned i = 0; i < 9; ++i) {
        const unsigned index = shift / 8 + i;
        const std::uint64_t byte = i < 8 ? low >> (8 * i) : high;
        if (index < number.size()) number[number.size() - 1 - index] = static_cast<std::uint8_t>(byte);
    }
}

}  // namespace

Hash256 BoundaryOfDifficulty(double hashes) {
    Hash256 boundary{};
    int exponent = 0;
    const double mantissa = std::frexp(1.0 / hashes, &exponent);
    if (exponent > 0) {
        boundary.fill(0xFF);
        return boundary;
    }
    Place(boundary, static_cast<std::uint64_t>(std::ldexp(mantissa, 53)), static_cast<unsigned>(256 + exponent - 53));
    return boundary;
}

double StratumDifficultyOf(double hashes) {
    return std::ldexp(hashes, -32);
}

Hash256 BoundaryOfStratumDifficulty(double difficulty) {
    unsigned word = 6;
    while (word > 0 && difficulty > 1.0) {
        --word;
        difficulty = std::ldexp(difficulty, -32);
    }
    Hash256 boundary{};
    const auto quotient = static_cast<std::uint64_t>(4294901760.0 / difficulty);
    if (quotient == 0 && word == 6) {
        boundary.fill(0xFF);
        return boundary;
    }
    Place(boundary, quotient, word * 32);
    return boundary;
}

double ExpectedHashes(const Hash256& value) {
    double fraction = 0;
    for (std::size_t i = value.size(); i-- > 0;)
        fraction = (fraction + value[i]) / 256.0;
    return fraction > 0 ? 1.0 / fraction : INFINITY;
}
