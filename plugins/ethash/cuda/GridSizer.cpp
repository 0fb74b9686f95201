#include "ethash/cuda/GridSizer.h"

#include <algorithm>
#include <cmath>

#include "ethash/kernels/KernelParameters.h"

namespace {

constexpr CGridSizer::Duration kWanted{0.010};
constexpr std::uint32_t kFirstUnits = 32;
constexpr std::uint32_t kMostNonces = 1U << 28;
constexpr std::uint64_t kExpectedSolutions = kEthashMaxSolutions / 4;

}  // namespace

CGridSizer::CGridSizer(unsigned multiProcessors)
    : m_unit(std::clamp(multiProcessors, 1U, 4096U) * kEthashSearchThreads), m_nonces(m_unit * kFirstUnits) {}

std::uint32_t CGridSizer::Nonces(std::uint64_t target) const {
    // 2^64 / (target + 1) hashes find one solution.
    const std::uint64_t perSolution = ~std::uint64_t{0} / std::max<std::uint64_t>(target, 1);
    if (perSolution > kMostNonces) return m_nonces;
    const auto roomFor = static_cast<std::uint32_t>(std::max<std::uint64_t>(perSolution * kExpectedSolutions, 1));
    return std::min(m_nonces, std::max<std::uint32_t>(roomFor, kExpectedSolutions));
}

void CGridSizer::Ran(std::uint64_t hashes, Duration time) {
    if (hashes == 0 || time.count() <= 0) return;
    const double wanted = static_cast<double>(hashes) * (kWanted / time);
    // By steps: one odd measurement must not make a grid that lasts for seconds.
    const double bounded = std::clamp(wanted, m_nonces * 0.5, m_nonces * 2.0);
    const auto units = static_cast<std::uint32_t>(std::lround(bounded / m_unit));
    m_nonces = std::clamp(units * m_unit, m_unit, kMostNonces / m_unit * m_unit);
}
