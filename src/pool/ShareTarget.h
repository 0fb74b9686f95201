#pragma once
#include <cstdint>
#include <span>
#include "quorvel/plugin.h"

using TargetBytes = std::span<std::uint8_t, QV_TARGET_BYTES>;

// The 256-bit share target of a pool difficulty, most significant byte first: 0xFFFF0000 * 2^192 / difficulty in steps of
// 32-bit words, which for difficulty 1 is the classic 0x00000000FFFF0000 followed by zeros. A quotient beyond 256 bits gives
// all ones. difficulty: finite and above 0.
void DifficultyToTarget(double difficulty, TargetBytes target);
