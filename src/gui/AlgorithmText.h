#pragma once
#include <string>
#include "config/AlgorithmList.h"
#include "config/PoolEntry.h"

// How algorithms are named to the user. Portable; any thread.

// "Etchash (1)". One without a plug-in: "etchash (1) - no plug-in" where we know its name, else "99 - no plug-in".
std::wstring AlgorithmText(std::int32_t id, const CAlgorithmList& algorithms);

// The pool's name, marked with "- no plug-in" when nothing can mine there.
std::wstring PoolText(const PoolEntry& pool, const CAlgorithmList& algorithms);
