#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include "config/AlgorithmList.h"
#include "config/PoolEntry.h"

// Numbers with a unit and its prefix. Portable; any thread.

// "%.3f %s%s": the prefix rises in steps of 1000 once the number exceeds 1024 of the present one, up to tera.
std::wstring HashRateText(std::uint64_t value, std::wstring_view unit);
// The same rule with so many decimals, for a number from 0 to below 2^64.
std::wstring RateText(double value, int decimals, std::wstring_view unit);
// With so many decimals and a space behind it.
std::wstring FixedText(double value, int decimals);
// The same for a number that may have a fraction; empty for 0 (none was received) and for what is no number.
std::wstring DifficultyText(double value, std::wstring_view unit);
// "%.1f %s": steps of 1024, up to GB.
std::wstring ByteSizeText(std::uint64_t value);

// How algorithms are named to the user. Portable; any thread.

// "Etchash (1)". One without a plug-in: "etchash (1) - no plug-in" where we know its name, else "99 - no plug-in".
std::wstring AlgorithmText(std::int32_t id, const CAlgorithmList& algorithms);

// The pool's name, marked with "- no plug-in" when nothing can mine there.
std::wstring PoolText(const PoolEntry& pool, const CAlgorithmList& algorithms);
