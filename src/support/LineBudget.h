#pragma once
#include <cstdint>
#include <mutex>
#include "common/Time.h"

// How many lines of one kind may be written: a hundred at once, then one in six seconds. Any thread; times are ticks of
// IClock::Monotonic.
class CLineBudget {
  public:
    struct Verdict {
        bool write = false;
        std::uint32_t left = 0;  // lines that were left out since the last one written
    };

    Verdict Take(TimeSpan now) {
        const std::lock_guard lock(m_lock);
        const TimeSpan earned = (now - m_counted) / kPerLine;
        if (m_counted == 0 || m_lines + earned > kMost) {
            m_lines = m_counted == 0 ? m_lines : kMost;
            m_counted = now;
        } else {
            m_lines += earned;
            m_counted += earned * kPerLine;
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
    static constexpr TimeSpan kPerLine = 6 * kTicksPerSecond;
    static constexpr TimeSpan kMost = 100;

    std::mutex m_lock;
    TimeSpan m_lines = kMost;
    TimeSpan m_counted = 0;
    std::uint32_t m_left = 0;
};
