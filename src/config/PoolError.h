#pragma once
#include <cstdint>
#include "common/Time.h"

// The error of one pool reply. Narrow text as received, always terminated.
struct PoolError {
    std::int32_t code = 0;       // 0: no error
    ddt_datetime time;           // UTC; unset: no error
    std::int32_t gpuIndex = -1;  // CUDA id of the GPU whose share it answers; -1 none
    char text[512] = {};
};
