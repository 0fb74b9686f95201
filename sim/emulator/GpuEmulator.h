#pragma once
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string_view>

// A GPU of the slowest kind: each thread of a grid is a fibre of the calling thread. Slow, but exact about what lanes
// exchange, where they wait for each other and what they leave in memory.

// A kernel that no GPU would run to its end as meant: lanes of a warp, or warps of a block, that wait at different places.
class CDivergence : public std::logic_error {
  public:
    using std::logic_error::logic_error;
};

// Called in a thread of the grid before it reads bytes of the dataset at address, so that these can be made on demand.
using DatasetReadHook = std::function<void(const void* address, std::size_t bytes)>;

// Runs a kernel of EthashKernels.cu by its name, with its parameters as in KernelParameters.h and host pointers in them;
// returns when the grid has ended. Several threads may run grids at once. Throws CDivergence, std::invalid_argument for
// names and sizes that cannot be, and what the hook throws.
void EmulateKernel(std::string_view name, const void* parameters, unsigned blocks, unsigned threadsPerBlock,
                   const DatasetReadHook& beforeDatasetRead = {});
