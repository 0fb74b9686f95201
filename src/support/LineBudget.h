#pragma once
#include <cstdint>
#include <mutex>
#include "common/Time.h"

// How many lines of one kind may be written: so many at once, then one in each interval. Any thread; times are ticks of
// IClock::Monotonic.
class CLineBudget {
  public:
    struct Verdict {
        bool write = false;
        std::uint32_t left = 0;  // lines that were left out since the last one written
    };

    explicit CLineBudget(TimeSpan most = 100, TimeSpan perLine = 6 * kTicksPerSecond) : m_most(most), m_perLine(perLine) {}

    Verdict Take(TimeSpan now) {
        const std::lock_guard lock(m_lock);
        const TimeSpan earned = (now - m_counted) / m_perLine;
        if (m_counted == 0 || m_lines + earned >= m_most) {
            m_lines = m_most;
            m_counted = now;
        } else {
            m_lines += earned;
            m_counted += earned * m_perLine;
        }
        if (m_lines <= 0) {
            ++m_left;
            return {};
        }
        --m_lines;
        const std::uint32_t left = m_left;
        m_left = 0;
        return {true, left};
    }

  private:
    const TimeSpan m_most;
    const TimeSpan m_perLine;
    std::mutex m_lock;
    TimeSpan m_lines = m_most;
    TimeSpan m_counted = 0;
    std::uint32_t m_left = 0;
};
