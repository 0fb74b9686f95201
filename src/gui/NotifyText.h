#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>
#include "common/Time.h"
#include "config/AlgorithmList.h"
#include "config/MinerConfiguration.h"
#include "gui/MiningView.h"

// What the icon in the notification area says. Portable; GUI thread.

// Of the GPUs that are configured: "512.000 MH/s · 1240/3/0 · 71 °C · 1.24 kW", shares as accepted/stale/rejected, the
// hottest card, the power of all. Rates of different units stand one after the other; what no card tells is left out.
std::wstring MiningSummary(const MinerConfiguration& configuration, const CAlgorithmList& algorithms);

// Decides when a balloon is worth disturbing somebody: when mining stopped by itself, or a card stays out. What comes within
// ten minutes of the last one waits, and is told then if it still holds.
class CNotices {
  public:
    static constexpr TimeSpan kPause = 10 * kTicksPerMinute;

    void MiningStopped() { m_stopped = true; }
    void MiningStarted() { m_stopped = false; }
    // now: monotonic. Nothing: no balloon.
    std::optional<std::wstring> Look(std::span<const GpuTrouble> troubled, TimeSpan now);

  private:
    bool m_stopped = false;
    std::vector<std::int32_t> m_told;
    std::optional<TimeSpan> m_last;
};
