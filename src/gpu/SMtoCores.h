#pragma once
#include <cstdint>

// CUDA cores per multiprocessor of a compute capability. One that is not in the table gets 64, and a line on standard
// output.
std::int32_t MapSMtoCores(std::int32_t major, std::int32_t minor);
