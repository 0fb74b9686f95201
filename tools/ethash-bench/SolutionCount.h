#pragma once
#include <cstdint>

// So many solutions a search is made to let expect: enough to tell even when it is ten times slower than it was tried.
inline constexpr double kWantedSolutions = 250;

// How many hashes up to a target are to be expected; targetTop: the target's most significant 64 bits.
double ExpectedSolutions(double hashes, std::uint64_t targetTop);

// Whether a sound card may have found so many. False for what chance brings once in a million searches or less, and where
// too few are expected to tell.
bool IsPlausible(std::uint64_t found, double expected);
