#pragma once
#include <cstddef>
#include <span>
#include "net/ByteBuffer.h"

// What a peer may send without a delimiter before it is taken for broken.
inline constexpr std::size_t kMaximumPendingBytes = std::size_t{16} * 1024 * 1024;

// Cuts a stream of bytes into lines, used by one thread. After every Add all lines are to be taken:
//     framer.Add(bytes);
//     for (std::span<char> line = framer.NextLine(); !line.empty(); line = framer.NextLine()) ...
class CLineFramer {
  public:
    explicit CLineFramer(char delimiter, std::size_t limit = kMaximumPendingBytes);

    // Both throw std::bad_alloc; what is left then is only good for Clear.
    void Add(std::span<const char> bytes);
    // The next whole line: up to and including its delimiter, then a NUL that is counted. Writable; valid until the next
    // call. Empty: there is none.
    std::span<char> NextLine();
    // Once NextLine has answered "none": the bytes that wait for their delimiter have reached the limit.
    bool IsOverLimit() const { return m_pending.Length() - m_taken >= m_limit; }
    // Forgets the bytes of an unfinished line.
    void Clear();
    std::size_t Capacity() const { return m_pending.Capacity() + m_line.Capacity(); }

  private:
    void DropTaken();

    char m_delimiter;
    std::size_t m_limit;
    CByteBuffer m_pending;
    CByteBuffer m_line;
    std::size_t m_taken = 0;     // bytes at the front of m_pending that have been handed out
    std::size_t m_searched = 0;  // bytes at the front of m_pending known to hold no further delimiter
};
