#include "net/ByteBuffer.h"
#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace {

constexpr unsigned kCallsBetweenTrims = 25;

// An area of up to this size is kept when the buffer is trimmed: only the capacity is taken back, and a stream of usual
// lines needs no memory manager.
constexpr std::size_t kKeptArea = std::size_t{128} * 1024;

}  // namespace

CByteBuffer::CByteBuffer(std::size_t granule, bool terminated) : m_granule(granule), m_spare(terminated ? 1 : 0) {}

bool CByteBuffer::Append(std::span<const char> bytes) {
    const std::size_t need = m_capacity + bytes.size() + m_spare;
    if (need > m_capacity) {
        const std::size_t capacity = RoundUp(need);
        if (capacity <= m_areaSize) {
            m_capacity = capacity;
        } else {
            // Ahead of what the capacity asks for, which grows with every append: else each of them would copy the contents.
            Reallocate(capacity, capacity + capacity / 2);
        }
    }
    if (m_length + bytes.size() + m_spare > m_capacity) return false;
    if (!bytes.empty()) std::memcpy(m_area.get() + m_length, bytes.data(), bytes.size());
    m_length += bytes.size();
    m_highWater = std::max(m_highWater, m_length);
    Terminate();
    return true;
}

void CByteBuffer::Consume(std::size_t count) {
    count = std::min(count, m_length);
    if (count == 0) return;
    m_length -= count;
    std::memmove(m_area.get(), m_area.get() + count, m_length);
    Terminate();
}

void CByteBuffer::Clear() {
    m_length = 0;
    if (m_area) Terminate();
}

void CByteBuffer::Trim() {
    if (++m_trimCalls < kCallsBetweenTrims) return;
    m_trimCalls = 0;
    const std::size_t capacity = (m_highWater / m_granule + 2) * m_granule;
    m_highWater = 0;
    if (capacity >= m_capacity) return;
    m_length = 0;
    if (m_areaSize > kKeptArea) {
        Reallocate(capacity, capacity);
    } else {
        m_capacity = capacity;
    }
}

void CByteBuffer::Repack() {
    const std::size_t capacity = RoundUp(m_length + m_spare);
    if (capacity < m_capacity) Reallocate(capacity, capacity);
}

bool CByteBuffer::Reallocate(std::size_t capacity, std::size_t areaSize) {
    try {
        auto area = std::make_unique_for_overwrite<char[]>(areaSize);
        if (m_area && m_length != 0) std::memcpy(area.get(), m_area.get(), m_length);
        m_area = std::move(area);
    } catch (const std::bad_alloc&) {
        return false;
    }
    m_capacity = capacity;
    m_areaSize = areaSize;
    Terminate();
    return true;
}

void CByteBuffer::Terminate() {
    if (m_spare != 0) m_area[m_length] = '\0';
}
