#pragma once
#include <cstdint>
#include <span>
#include "pool/StratumMessage.h"
#include "quorvel/plugin.h"

// How a session fills its work block. A text longer than its slot is cut; the last byte of a slot is never anything but NUL,
// so a plug-in that reads while a slot is rewritten finds a terminated text all the same.

// Clears job, extranonce and target.
void ClearWork(StratumWorkBlock& block);

// params: the parameters of a job. False, with nothing changed: null, or no list that starts with a job id (a text or a
// number).
bool FillJob(const JsonValue* params, StratumWorkBlock& block);

// False, with nothing changed: null, or no text.
bool FillExtranonce(const JsonValue* value, StratumWorkBlock& block);

using TargetBytes = std::span<std::uint8_t, QV_TARGET_BYTES>;

// The 256-bit share target of a pool difficulty, most significant byte first: 0xFFFF0000 * 2^192 / difficulty in steps of
// 32-bit words, which for difficulty 1 is the classic 0x00000000FFFF0000 followed by zeros. A quotient beyond 256 bits gives
// all ones. difficulty: finite and above 0.
void DifficultyToTarget(double difficulty, TargetBytes target);
