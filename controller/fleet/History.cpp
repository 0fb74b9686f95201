#include "fleet/History.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr float kNothing = std::numeric_limits<float>::quiet_NaN();

std::optional<double> Value(float stored) {
    if (std::isnan(stored)) return std::nullopt;
    return stored;
}

}  // namespace

void CHistory::Add(std::int64_t nowSeconds, std::optional<double> hashRate, std::optional<double> temperature) {
    const std::int64_t step = nowSeconds / kStepSeconds;
    if (m_step < 0) m_step = step;
    if (step > m_step) {
        Close();
        const std::int64_t gaps = std::min<std::int64_t>(step - m_step - 1, kCapacity);
        for (std::int64_t i = 0; i < gaps; ++i)
            Push({kNothing, kNothing});
        m_step = step;
    }
    // A clock that was set back adds to the current step.
    if (hashRate) {
        m_hashSum += *hashRate;
        ++m_hashCount;
    }
    if (temperature) m_hottest = std::max(m_hottest.value_or(*temperature), *temperature);
}

void CHistory::Close() {
    Push({m_hashCount == 0 ? kNothing : static_cast<float>(m_hashSum / m_hashCount),
          m_hottest ? static_cast<float>(*m_hottest) : kNothing});
    m_hashSum = 0;
    m_hashCount = 0;
    m_hottest.reset();
}

void CHistory::Push(const Slot& slot) {
    if (m_ring.size() < kCapacity)
        m_ring.push_back(slot);
    else
        m_ring[m_next] = slot;
    m_next = (m_next + 1) % kCapacity;
}

std::vector<HistoryPoint> CHistory::Points() const {
    std::vector<HistoryPoint> points;
    points.reserve(m_ring.size());
    const std::size_t oldest = m_ring.size() < kCapacity ? 0 : m_next;
    for (std::size_t i = 0; i < m_ring.size(); ++i) {
        const Slot& slot = m_ring[(oldest + i) % m_ring.size()];
        points.push_back({Value(slot.hashRate), Value(slot.temperature)});
    }
    return points;
}
