#pragma once
#include <atomic>

#include "ethash/hash/Ethash.h"

// Share targets, most significant byte first. A hash is a share when it is not above the target.

// 2^256 / hashes, to the 53 bits of a double; hashes is in [1, 1e15].
Hash256 BoundaryOfDifficulty(double hashes);
// The difficulty to announce with mining.set_difficulty for that many expected hashes.
double StratumDifficultyOf(double hashes);
// The target that a client derives from mining.set_difficulty: 0xFFFF0000 * 2^192 / difficulty, one 64-bit quotient wide.
Hash256 BoundaryOfStratumDifficulty(double difficulty);
// 2^256 / value: how many hashes it takes on average to find one that is not above value.
double ExpectedHashes(const Hash256& value);
