#include "kit/HashRateMeter.h"

#include <algorithm>

void CHashRateMeter::Start(TimePoint now) noexcept {
    m_marks[0] = {now, 0};
    m_count = 1;
    m_total = 0;
}

void CHashRateMeter::Add(std::uint64_t count, TimePoint now) noexcept {
    m_total += count;
    if (m_count == 0 || now - m_marks[(m_count - 1) % kMarks].time >= kSpacing) m_marks[m_count++ % kMarks] = {now, m_total};
}

std::uint64_t CHashRateMeter::PerSecond(TimePoint now) const noexcept {
    // Measured from the latest mark that is at least a window old, or from the oldest there is.
    const std::size_t kept = std::min(m_count, kMarks);
    if (kept == 0) return 0;
    std::size_t index = m_count - 1;
    for (std::size_t seen = 1; seen < kept && now - m_marks[index % kMarks].time < kWindow; ++seen)
        --index;
    const Mark& from = m_marks[index % kMarks];
    const std::chrono::duration<double> elapsed = now - from.time;
    if (elapsed.count() <= 0) return 0;
    return static_cast<std::uint64_t>(static_cast<double>(m_total - from.total) / elapsed.count());
}
