#pragma once
#include <string>

// A string of the program's string table; empty when there is none.
std::wstring LoadText(unsigned id);
