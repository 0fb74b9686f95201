#include "common/ScratchBuffer.h"

namespace {

constexpr std::size_t kCountedReleases = 25;
constexpr std::size_t kSpareUnits = 2;

}  // namespace

CScratchBuffer::CScratchBuffer(std::size_t unit) : m_unit(unit) {}

std::span<char> CScratchBuffer::Acquire(std::size_t bytes) {
    if (bytes > m_capacity) Reallocate((bytes + m_unit - 1) / m_unit);
    return {m_block.get(), m_capacity};
}

void CScratchBuffer::Release(std::size_t used) {
    m_usedTotal += used;
    if (++m_calls <= kCountedReleases) return;
    const std::size_t average = m_usedTotal / m_calls / m_unit;
    if ((average + kSpareUnits) * m_unit < m_capacity) Reallocate(average + kSpareUnits);
    m_calls = 0;
    m_usedTotal = 0;
}

void CScratchBuffer::Reallocate(std::size_t units) {
    m_capacity = 0;
    m_block.reset();  // first: the contents are not kept
    m_block = std::make_unique_for_overwrite<char[]>(units * m_unit);
    m_capacity = units * m_unit;
}
