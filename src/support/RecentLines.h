#pragma once
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

// The latest of many lines, kept in memory. Any thread; nobody waits but for a copy.
class CRecentLines {
  public:
    explicit CRecentLines(std::size_t most) : m_most(most) {}

    void Add(std::wstring line) {
        const std::lock_guard lock(m_lock);
        if (m_lines.size() == m_most) m_lines.pop_front();
        m_lines.push_back(std::move(line));
    }
    // The oldest first.
    std::vector<std::wstring> Lines() const {
        const std::lock_guard lock(m_lock);
        return {m_lines.begin(), m_lines.end()};
    }

  private:
    const std::size_t m_most;
    mutable std::mutex m_lock;
    std::deque<std::wstring> m_lines;
};
