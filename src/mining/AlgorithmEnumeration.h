#pragma once
#include <string>
#include "config/AlgorithmList.h"

// Loads every "*.dll" of the folder (ends with a backslash), reads its descriptor and unit and frees it again. Files that
// are no library, lack GetInterface or return no descriptor are skipped without a message. GUI thread, at start-up.
void EnumerateAlgorithms(const std::wstring& algosFolder, CAlgorithmList& algorithms);
