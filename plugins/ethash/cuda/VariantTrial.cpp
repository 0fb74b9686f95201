#include "ethash_cuda/VariantTrial.h"

namespace {

constexpr unsigned kWarmUpGrids = 4;  // the one before still runs beside the first; grid sizes settle
constexpr unsigned kMeasuredGrids = 12;

}  // namespace

double CVariantTrial::Speed(unsigned variant) const {
    const Tried& tried = m_tried[variant];
    return tried.seconds > 0 ? tried.hashes / tried.seconds : 0;
}

bool CVariantTrial::Ran(unsigned variant, std::uint64_t hashes, Duration time) {
    if (m_decided || variant != m_current) return false;
    Tried& tried = m_tried[variant];
    if (++tried.grids > kWarmUpGrids) {
        tried.hashes += static_cast<double>(hashes);
        tried.seconds += time.count();
    }
    if (tried.grids < kWarmUpGrids + kMeasuredGrids) return false;
    if (++m_current < m_tried.size()) return false;
    m_current = 0;
    for (unsigned other = 1; other < m_tried.size(); ++other) {
        if (Speed(other) > Speed(m_current)) m_current = other;
    }
    m_decided = true;
    return true;
}
