#include "net/LineFramer.h"

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

namespace {

// Unused room that the pending buffer may hold beside twice its contents.
constexpr std::size_t kTolerableRoom = std::size_t{64} * 1024;

}  // namespace

CLineFramer::CLineFramer(char delimiter, std::size_t limit) : m_delimiter(delimiter), m_limit(limit) {}

void CLineFramer::Add(std::span<const char> bytes) {
    if (!m_pending.Append(bytes)) throw std::bad_alloc();
}

std::span<char> CLineFramer::NextLine() {
    const char* const from = m_pending.Data() + m_searched;
    const std::size_t left = m_pending.Length() - m_searched;
    const void* const found = left != 0 ? std::memchr(from, m_delimiter, left) : nullptr;
    if (found == nullptr) {
        DropTaken();
        return {};
    }
    const std::size_t end = m_searched + static_cast<std::size_t>(static_cast<const char*>(found) - from) + 1;
    const std::span<const char> source(m_pending.Data() + m_taken, end - m_taken);
    m_taken = m_searched = end;

    m_line.Clear();
    m_line.Trim();
    static constexpr char kNul = '\0';
    if (!m_line.Append(source) || !m_line.Append({&kNul, 1})) throw std::bad_alloc();
    return {m_line.Data(), m_line.Length()};
}

void CLineFramer::DropTaken() {
    m_pending.Consume(m_taken);
    m_taken = 0;
    m_searched = m_pending.Length();
    if (m_pending.Length() == 0) {
        m_pending.Trim();
    } else if (m_pending.Capacity() > 2 * m_pending.Length() + kTolerableRoom) {
        m_pending.Repack();  // a stream whose reads never end with a line leaves no empty buffer to trim
    }
}

void CLineFramer::Clear() {
    m_pending.Clear();
    m_taken = m_searched = 0;
}
