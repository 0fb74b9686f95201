#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include "ethash/EthashJob.h"

struct NonceRun {
    std::uint64_t first = 0;
    std::uint32_t count = 0;
};

// One GPU's share of a job's free nonces: the space is cut into equal parts that never overlap, each counted through once,
// beginning at base plus the part's place (base makes two searches of one job unlikely to repeat each other).
class CNonceRange {
  public:
    CNonceRange() = default;  // empty
    CNonceRange(const NonceSpace& space, std::uint64_t base, std::uint32_t part, std::uint32_t parts) noexcept;

    // Fills the front of nonces and returns how many: fewer than asked for at the end of the range, then 0.
    std::size_t Take(std::span<std::uint64_t> nonces) noexcept;
    // Up to count nonces that follow one another; none at the end of the range.
    NonceRun TakeRun(std::uint32_t count) noexcept;

  private:
    std::uint64_t m_prefix = 0;
    std::uint64_t m_mask = 0;
    std::uint64_t m_next = 0;
    std::uint64_t m_left = 0;
};
