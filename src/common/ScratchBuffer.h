#pragma once
#include <cstddef>
#include <memory>
#include <span>

// A reused working area that follows the sizes asked for: it grows at once, and shrinks to about the average use every
// so many releases, so that one large use does not keep it large. One thread at a time.
class CScratchBuffer {
  public:
    // unit: the granularity of the capacity, in bytes; not 0.
    explicit CScratchBuffer(std::size_t unit);

    // An area of at least that many bytes with undefined contents, valid until the next call of either operation.
    std::span<char> Acquire(std::size_t bytes);
    // used: how much of the area was needed. May free it.
    void Release(std::size_t used);

    std::size_t Capacity() const { return m_capacity; }

  private:
    void Reallocate(std::size_t units);

    std::size_t m_unit;
    std::size_t m_capacity = 0;
    std::size_t m_calls = 0;
    std::size_t m_usedTotal = 0;
    std::unique_ptr<char[]> m_block;
};
