#pragma once
#include <string>
#include "ethash/cuda/CudaDriverApi.h"

// The installed driver, ready for use.
struct CudaDriver {
    const CudaDriverApi* api = nullptr;  // null: it cannot be used
    std::string problem;                 // why, for the user
};

// Loads nvcuda.dll (libcuda.so.1) at the first call and initialises it; the library stays loaded. In a program that has
// loaded a library of that name already, that one. Any thread.
const CudaDriver& InstalledCudaDriver();
