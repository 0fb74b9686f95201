#pragma once
#include <cstddef>
#include <string>

// Lines that no pool should send: broken, hostile or of the wrong types, none of which a client may act upon. The same index
// gives the same line; indices beyond the last begin again.
std::string GarbageLine(std::size_t index);
std::size_t GarbageLines();
