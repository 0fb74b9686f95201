#pragma once
#include <cstdint>
#include "kit/HashRateMeter.h"
#include "quorvel/plugin.h"

// Keeps the plug-in's words of one GPU's statistics. One thread writes them (this recorder's), but for the stale shares,
// which the miner counts, too; others read them at any time.
class CSpeedRecorder {
  public:
    using TimePoint = CHashRateMeter::TimePoint;

    explicit CSpeedRecorder(CMiningStatistics& statistics) noexcept : m_statistics(statistics) {}

    void Hashed(std::uint64_t hashes, std::uint64_t solutions, TimePoint now) noexcept;
    // Nothing is hashed: the speed is 0 at once.
    void Idle(TimePoint now) noexcept;
    void CountStale() noexcept;
    void ShareSent() noexcept;

    // The next time at which the histories want a value.
    TimePoint NextSecond() const noexcept { return m_nextSecond; }

  private:
    void Publish(TimePoint now) noexcept;

    CMiningStatistics& m_statistics;
    CHashRateMeter m_hashes;
    CHashRateMeter m_solutions;
    bool m_hashing = false;
    TimePoint m_nextSecond{};
};
