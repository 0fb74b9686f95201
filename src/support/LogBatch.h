#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include "common/Time.h"

enum class LogTextKind : std::uint32_t { Narrow, Wide };

struct LogEntry {
    ddt_datetime time;
    LogTextKind kind = LogTextKind::Narrow;
    std::string_view bytes;  // wide text as it lies in memory, not aligned
};

// Log lines on their way to the disk, packed into one buffer that keeps its capacity. Portable; one thread at a time.
class CLogBatch {
  public:
    static constexpr std::size_t kMaxBytes = std::size_t{16} << 20;

    // False, with nothing added: the batch would grow beyond kMaxBytes.
    bool Add(const LogEntry& entry);
    // The entries in the order they were added; false after the last. What an entry points to is valid until Clear.
    bool Next(LogEntry& entry);
    // Empties it; gives back the memory of an unusually large one.
    void Clear();
    bool IsEmpty() const { return m_bytes.empty(); }

  private:
    std::string m_bytes;
    std::size_t m_read = 0;
};
