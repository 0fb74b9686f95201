#include "kit/NonceSettings.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <utility>

namespace {

enum : std::int32_t { kByMiner = 0, kFromOffset = 1 };

// Of all nonces; what is less may not last for a job.
constexpr std::uint64_t kSmallest = std::uint64_t{1} << 48;

// Why a GPU does not get the nonces that its owner may expect; empty: it does.
std::string Problem(std::int32_t mode, const std::vector<NonceStart>& starts, std::size_t gpu) {
    if (mode != kByMiner && mode != kFromOffset) {
        return "NGM " + std::to_string(mode) + " is unknown and counts as 0; known are 0 and 1";
    }
    const std::uint64_t offset = starts[gpu].offset;
    const bool isClose = std::any_of(starts.begin(), starts.end(), [&](const NonceStart& other) {
        return other.isFixed && other.offset != offset && other.offset - offset < kSmallest;
    });
    if (!starts[gpu].isFixed || !isClose) return {};
    return "NGTO " + std::to_string(offset) + " leaves less than a 65536th of the nonces up to the NGTO of another GPU";
}

}  // namespace

std::vector<NonceStart> CNonceSettings::Read(IEngineHost& host) {
    std::vector<std::int32_t> modes;
    std::vector<NonceStart> starts;
    for (QvGpuRecord* const gpu : m_gpus) {
        modes.push_back(std::atomic_ref(gpu->NGM).load(std::memory_order_relaxed));
        const bool isFixed = modes.back() == kFromOffset;
        starts.push_back({isFixed, isFixed ? std::atomic_ref(gpu->NGTO).load(std::memory_order_relaxed) : 0});
    }
    for (std::size_t i = 0; i < m_gpus.size(); ++i) {
        std::string problem = Problem(modes[i], starts, i);
        if (!problem.empty() && problem != m_said[i]) {
            host.Log("GPU " + std::to_string(m_gpus[i]->cudaId) + ": " + problem);
        }
        m_said[i] = std::move(problem);
    }
    return starts;
}
