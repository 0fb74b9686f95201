#pragma once
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include "ethash/cuda/CudaSearch.h"

// Finds by trying which variant of the search kernel is the fastest on a card, on grids that are searched anyway. Each has
// its rounds in turn with the others', so that a card that warms up favours none, and counts with the median of them, so
// that a sleep of the PC or another program's moment spoils none. The usual one stays unless another is clearly faster.
class CVariantTrial {
  public:
    using Duration = std::chrono::duration<double>;
    static constexpr unsigned kUsual = 1;

    // The variant for the next grid (index into kSearchVariants).
    unsigned Current() const { return m_current; }
    bool IsDecided() const { return m_decided; }
    // Hashes per second of a variant, when decided.
    double Speed(unsigned variant) const;

    // A grid of this variant took so long; grids that were stopped are not told. True when this one decided.
    bool Ran(unsigned variant, std::uint64_t hashes, Duration time);

  private:
    void Decide();

    static constexpr std::size_t kVariants = std::size(kSearchVariants);
    static constexpr std::size_t kRounds = 5;

    std::array<std::array<double, kRounds>, kVariants> m_speeds{};
    std::size_t m_round = 0;
    unsigned m_grids = 0;  // the following: of the present variant in this round
    double m_hashes = 0;
    double m_seconds = 0;
    unsigned m_current = 0;
    bool m_decided = false;
};
