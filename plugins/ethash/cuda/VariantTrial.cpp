#include "ethash/cuda/VariantTrial.h"

#include <algorithm>

namespace {

constexpr unsigned kWarmUpGrids = 2;  // the one before still runs beside the first
constexpr unsigned kMeasuredGrids = 8;
constexpr double kClearly = 1.01;

static_assert(kSearchVariants[CVariantTrial::kUsual] == 4);

}  // namespace

double CVariantTrial::Speed(unsigned variant) const {
    auto speeds = m_speeds[variant];
    std::nth_element(speeds.begin(), speeds.begin() + kRounds / 2, speeds.end());
    return speeds[kRounds / 2];
}

bool CVariantTrial::Ran(unsigned variant, std::uint64_t hashes, Duration time) {
    if (m_decided || variant != m_current) return false;
    if (++m_grids > kWarmUpGrids) {
        m_hashes += static_cast<double>(hashes);
        m_seconds += time.count();
    }
    if (m_grids < kWarmUpGrids + kMeasuredGrids) return false;
    m_speeds[variant][m_round] = m_seconds > 0 ? m_hashes / m_seconds : 0;
    m_grids = 0;
    m_hashes = m_seconds = 0;
    if (++m_current < kVariants) return false;
    m_current = 0;
    if (++m_round < kRounds) return false;
    Decide();
    return true;
}

void CVariantTrial::Decide() {
    m_decided = true;
    m_current = kUsual;
    double toBeat = Speed(kUsual) * kClearly;
    for (unsigned other = 0; other < kVariants; ++other) {
        if (other == kUsual || Speed(other) < toBeat) continue;
        m_current = other;
        toBeat = Speed(other);
    }
}
