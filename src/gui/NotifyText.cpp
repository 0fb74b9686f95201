#include "gui/NotifyText.h"

#include <algorithm>
#include <map>

#include "common/SharedWord.h"
#include "config/GpuCounters.h"
#include "gui/GpuGroup.h"
#include "gui/GpuText.h"
#include "gui/UnitText.h"

namespace {

constexpr wchar_t kBetween[] = L" \x00B7 ";

}  // namespace

std::wstring MiningSummary(const MinerConfiguration& configuration, const CAlgorithmList& algorithms) {
    std::map<std::wstring, std::uint64_t> rates;
    GpuCounters sums;
    std::uint32_t hottest = 0;
    std::uint32_t watts = 0;
    for (const ConfigurationEntry& entry : configuration.configurations) {
        const GpuCounters counters = SumGpuCounters(entry.gpus);
        rates[PoolUnit(*entry.primaryPool, algorithms)] += counters.hashSpeed;
        sums.accepted += counters.accepted;
        sums.stale += counters.stale;
        sums.rejected += counters.rejected;
        for (const QvGpuRecord* gpu : entry.gpus) {
            if (HasSensors(*gpu)) hottest = std::max(hottest, ReadShared(gpu->temperature));
            if (HasPower(*gpu)) watts += ReadShared(gpu->powerUsage);
        }
    }
    std::wstring text;
    for (const auto& [unit, rate] : rates)
        text.append(text.empty() ? L"" : L" + ").append(HashRateText(rate, unit));
    text.append(kBetween).append(std::to_wstring(sums.accepted)).append(L"/").append(std::to_wstring(sums.stale));
    text.append(L"/").append(std::to_wstring(sums.rejected));
    if (hottest != 0) text.append(kBetween).append(TemperatureText(hottest));
    if (watts != 0) text.append(kBetween).append(PowerText(watts));
    return text;
}

std::optional<std::wstring> CNotices::Look(std::span<const GpuTrouble> troubled, TimeSpan now) {
    std::erase_if(m_told,
                  [&](std::int32_t gpu) { return std::ranges::find(troubled, gpu, &GpuTrouble::cudaId) == troubled.end(); });
    std::vector<std::int32_t> fresh;
    for (const auto& [gpu, reason] : troubled) {
        if (std::ranges::find(m_told, gpu) == m_told.end() && std::ranges::find(fresh, gpu) == fresh.end())
            fresh.push_back(gpu);
    }
    if ((fresh.empty() && !m_stopped) || (m_last && now - *m_last < kPause)) return std::nullopt;
    std::wstring text = m_stopped ? L"Mining has stopped by itself." : L"Not mining:";
    if (!m_stopped) {
        for (const std::int32_t gpu : fresh)
            text.append(gpu == fresh.front() ? L" GPU " : L", GPU ").append(std::to_wstring(gpu));
    }
    m_told.insert(m_told.end(), fresh.begin(), fresh.end());
    m_stopped = false;
    m_last = now;
    return text;
}
