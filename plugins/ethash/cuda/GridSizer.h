#pragma once
#include <chrono>
#include <cstdint>

// How many nonces a grid is given, so that it lasts about ten milliseconds: short enough for a new job and for the display,
// long enough that launching costs nothing.
class CGridSizer {
  public:
    using Duration = std::chrono::duration<double>;

    explicit CGridSizer(unsigned multiProcessors);

    // For the next grid. target: the most significant 64 bits; an easy one makes grids small, so that there is room for the
    // solutions.
    std::uint32_t Nonces(std::uint64_t target) const;
    // A grid that was not stopped took so long.
    void Ran(std::uint64_t hashes, Duration time);

  private:
    std::uint32_t m_unit;  // one block for each multiprocessor
    std::uint32_t m_nonces;
};
