#pragma once
#include <cstdint>
#include <optional>
#include <vector>

struct HistoryPoint {
    std::optional<double> hashRate;     // mean of the step, hashes per second
    std::optional<double> temperature;  // highest of the step
};

// Hash rate and temperature over the last hours in steps of equal length; the oldest make room for the newest. A step
// without a sample is a gap.
class CHistory {
  public:
    static constexpr std::int64_t kStepSeconds = 20;
    static constexpr std::size_t kCapacity = 720;  // four hours

    void Add(std::int64_t nowSeconds, std::optional<double> hashRate, std::optional<double> temperature);
    // Finished steps, oldest first; the last one ended at EndSeconds.
    std::vector<HistoryPoint> Points() const;
    std::int64_t EndSeconds() const { return m_step * kStepSeconds; }

  private:
    // Small, as there is one ring per rig: NaN where nothing was measured.
    struct Slot {
        float hashRate;
        float temperature;
    };
    void Close();
    void Push(const Slot& slot);

    std::vector<Slot> m_ring;
    std::size_t m_next = 0;
    std::int64_t m_step = -1;  // that is being filled
    double m_hashSum = 0;
    unsigned m_hashCount = 0;
    std::optional<double> m_hottest;
};
