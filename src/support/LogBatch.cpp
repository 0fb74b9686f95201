#include "support/LogBatch.h"

#include <cstring>

namespace {

struct PackedHeader {
    std::int64_t ticks;
    LogTextKind kind;
    std::uint32_t length;
};

constexpr std::size_t kKeptCapacity = std::size_t{1} << 20;

}  // namespace

bool CLogBatch::Add(const LogEntry& entry) {
    const std::size_t added = sizeof(PackedHeader) + entry.bytes.size();
    if (added > kMaxBytes - m_bytes.size()) return false;
    const PackedHeader header{entry.time.ticks, entry.kind, static_cast<std::uint32_t>(entry.bytes.size())};
    char packed[sizeof header];
    std::memcpy(packed, &header, sizeof header);
    m_bytes.append(packed, sizeof packed).append(entry.bytes);
    return true;
}

bool CLogBatch::Next(LogEntry& entry) {
    if (m_read == m_bytes.size()) return false;
    PackedHeader header;
    std::memcpy(&header, m_bytes.data() + m_read, sizeof header);
    m_read += sizeof header;
    entry = {{header.ticks}, header.kind, std::string_view(m_bytes).substr(m_read, header.length)};
    m_read += header.length;
    return true;
}

void CLogBatch::Clear() {
    m_bytes.clear();
    m_read = 0;
    if (m_bytes.capacity() > kKeptCapacity) m_bytes.shrink_to_fit();
}
