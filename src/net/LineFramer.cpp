#include "net/LineFramer.h"
#include <cstring>
#include <new>

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
