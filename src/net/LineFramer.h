#pragma once
#include <cstddef>
#include <memory>
#include <span>

inline constexpr std::size_t kByteBufferGranule = 1024;

// A growable run of bytes, used by one thread.
//
// Growth is reckoned from the capacity, not from the length: every append raises the capacity by at least what it appends,
// whether there was room or not. A buffer that lives long therefore has to be trimmed (Trim) or repacked (Repack).
class CByteBuffer {
  public:
    // terminated: a NUL that the length does not count follows the contents.
    explicit CByteBuffer(std::size_t granule = kByteBufferGranule, bool terminated = false);

    // False: there was no memory, and the contents are what they were.
    bool Append(std::span<const char> bytes);
    // Removes bytes from the front and moves the rest down.
    void Consume(std::size_t count);
    void Clear();

    // Every 25th call shrinks the area to what the longest contents since then needed, if that is less. Loses the contents,
    // so it is called on an empty buffer.
    void Trim();
    // Shrinks the area to the contents.
    void Repack();

    char* Data() { return m_area.get(); }  // null before the first append
    const char* Data() const { return m_area.get(); }
    std::size_t Length() const { return m_length; }
    std::size_t Capacity() const { return m_capacity; }

  private:
    std::size_t RoundUp(std::size_t need) const { return (need / m_granule + 1) * m_granule; }
    bool Reallocate(std::size_t capacity, std::size_t areaSize);
    void Terminate();

    std::size_t m_granule;
    std::size_t m_spare;  // 1 when terminated
    std::size_t m_capacity = 0;
    std::size_t m_areaSize = 0;  // at least the capacity; see Append
    std::size_t m_length = 0;
    std::size_t m_highWater = 0;
    unsigned m_trimCalls = 0;
    std::unique_ptr<char[]> m_area;
};

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
