#pragma once
#include <string>
#include "config/AlgorithmList.h"
#include "support/EventLog.h"

// Loads every "*.dll" of the folder (ends with a backslash), reads its descriptor and unit and frees it again. Says in the
// event log what it found and what it skipped and why (no library, no GetInterface, a later interface, no descriptor); which
// library is being loaded is in the file before it is. stateFile remembers libraries whose listing took the program down:
// one that did so at two starts in a row goes to the list's LeftOut until the file changes or stateFile is deleted. GUI
// thread, at start-up.
void EnumerateAlgorithms(const std::wstring& algosFolder, const std::wstring& stateFile, CEventLog& events,
                         CAlgorithmList& algorithms);
