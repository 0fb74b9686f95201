#pragma once
#include <cstddef>
#include <cstdint>
#include <span>

// The nonces a job leaves free: the fixed leading bits and the number of free bits below them.
struct NonceSpace {
    std::uint64_t prefix = 0;
    std::uint32_t freeBits = 64;
    bool operator==(const NonceSpace&) const = default;
};

struct NonceRun {
    std::uint64_t first = 0;
    std::uint32_t count = 0;
};

// Where one GPU's nonces begin, as the nonce-generator settings of its record say.
struct NonceStart {
    bool isFixed = false;      // else the GPUs that are not divide the space from a common base on
    std::uint64_t offset = 0;  // of a fixed one, as a fraction of the space: 2^64 would be all of it
    bool operator==(const NonceStart&) const = default;
};

// One GPU's share of a job's free nonces, counted through once. It begins at the GPU's start and ends where the next one of
// the rig begins, around the end of the space; so the ranges of a rig never overlap and together cover the space. A start
// that an earlier GPU has moves on by a 256th of the space until it is free.
class CNonceRange {
  public:
    CNonceRange() = default;  // empty
    // starts: of all GPUs of the rig, part: the GPU's place among them. base: a random number, which makes two searches of
    // one job unlikely to repeat each other.
    CNonceRange(const NonceSpace& space, std::uint64_t base, std::span<const NonceStart> starts, std::size_t part);

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
