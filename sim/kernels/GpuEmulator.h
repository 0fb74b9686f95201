#pragma once
#include <cstddef>
#include <functional>
#include <random>
#include <stdexcept>
#include <string_view>

// A GPU of the slowest kind: each thread of a grid is a fibre of the calling thread. Slow, but exact about what lanes
// exchange, where they wait for each other and what they leave in memory. Shared memory holds garbage as a block begins, and
// an atomic addition whose old value nobody asks for comes about no earlier than the thread's next fence or barrier demands.
// Not shown: values that lanes see too early because an exchange of registers, which is no barrier for memory, holds them
// here as one would, and reads that a card moves before a fence.

// A kernel that no GPU would run to its end as meant: lanes of a warp, or warps of a block, that wait at different places.
class CDivergence : public std::logic_error {
  public:
    using std::logic_error::logic_error;
};

// Who goes first among the blocks of a grid, the warps of a block and the lanes of a warp until they wait for each other: a
// GPU promises nothing.
class CTurns {
  public:
    static CTurns Ascending() { return {Kind::Ascending, 0}; }
    static CTurns Descending() { return {Kind::Descending, 0}; }
    // A new choice at every step.
    static CTurns Shuffled(unsigned seed) { return {Kind::Shuffled, seed}; }

    // One of so many that are ready.
    std::size_t Next(std::size_t ready) {
        if (m_kind == Kind::Shuffled) return m_random() % ready;
        return m_kind == Kind::Ascending ? 0 : ready - 1;
    }

  private:
    enum class Kind { Ascending, Descending, Shuffled };
    CTurns(Kind kind, unsigned seed) : m_kind(kind), m_random(seed) {}

    Kind m_kind;
    std::minstd_rand m_random;
};

// Called in a thread of the grid before it reads bytes of the dataset at address, so that these can be made on demand.
using DatasetReadHook = std::function<void(const void* address, std::size_t bytes)>;

// Runs a kernel of EthashKernels.cu by its name, with its parameters as in KernelParameters.h and host pointers in them;
// returns when the grid has ended. Several threads may run grids at once. Throws CDivergence, std::invalid_argument for
// names and sizes that cannot be, and what the hook throws.
void EmulateKernel(std::string_view name, const void* parameters, unsigned blocks, unsigned threadsPerBlock,
                   const DatasetReadHook& beforeDatasetRead = {}, CTurns turns = CTurns::Ascending());
