#include "SolutionCount.h"

#include <cmath>

namespace {

constexpr double kChance = 1e-6;
constexpr double kFewestExpected = 20;  // none at all would have a chance of 2e-9

}  // namespace

double ExpectedSolutions(double hashes, std::uint64_t targetTop) {
    return hashes * ((static_cast<double>(targetTop) + 1) / 0x1p64);
}

bool IsPlausible(std::uint64_t found, double expected) {
    if (!(expected >= kFewestExpected)) return false;
    // The tail of a Poisson distribution that begins at the count and leads away from what is expected.
    double number = static_cast<double>(found);
    const bool fewer = number < expected;
    double chance = 0;
    double term = std::exp(number * std::log(expected) - expected - std::lgamma(number + 1));
    while (term > kChance * 1e-9) {
        chance += term;
        if (chance > kChance) return true;
        term *= fewer ? number / expected : expected / (number + 1);
        number += fewer ? -1 : 1;
    }
    return false;
}
