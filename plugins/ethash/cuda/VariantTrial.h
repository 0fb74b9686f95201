#pragma once
#include <array>
#include <chrono>
#include <cstdint>
#include <iterator>
#include "ethash_cuda/CudaSearch.h"

// Finds by trying which variant of the search kernel is the fastest on a card, on grids that are searched anyway.
class CVariantTrial {
  public:
    using Duration = std::chrono::duration<double>;

    // The variant for the next grid (index into kSearchVariants).
    unsigned Current() const { return m_current; }
    bool IsDecided() const { return m_decided; }
    // Hashes per second of a variant that was tried.
    double Speed(unsigned variant) const;

    // A grid of this variant took so long; grids that were stopped are not told. True when this one decided.
    bool Ran(unsigned variant, std::uint64_t hashes, Duration time);

  private:
    struct Tried {
        unsigned grids = 0;
        double hashes = 0;
        double seconds = 0;
    };

    std::array<Tried, std::size(kSearchVariants)> m_tried{};
    unsigned m_current = 0;
    bool m_decided = false;
};
