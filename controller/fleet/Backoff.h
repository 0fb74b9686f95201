#pragma once
#include <algorithm>
#include <chrono>
#include <random>

// Pauses between attempts: each twice as long as the last up to a limit, spread by a fifth to either side so that many rigs
// that fail together do not come back together.
class CBackoff {
  public:
    CBackoff(std::chrono::milliseconds first, std::chrono::milliseconds longest, unsigned seed)
        : m_first(first), m_longest(longest), m_next(first), m_random(seed) {}

    std::chrono::milliseconds Next() {
        const auto pause = m_next;
        m_next = std::min(m_next * 2, m_longest);
        std::uniform_int_distribution<std::chrono::milliseconds::rep> spread(80, 120);
        return pause * spread(m_random) / 100;
    }
    void Reset() { m_next = m_first; }

  private:
    std::chrono::milliseconds m_first;
    std::chrono::milliseconds m_longest;
    std::chrono::milliseconds m_next;
    std::minstd_rand m_random;
};
