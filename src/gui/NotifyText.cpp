#include "gui/NotifyText.h"

#include <algorithm>
#include <map>

#include "common/Format.h"
#include "config/GpuCounters.h"
#include "gui/GpuGroup.h"
#include "gui/GpuText.h"
#include "gui/UnitText.h"

namespace {

constexpr wchar_t kBetween[] = L" \x00B7 ";
constexpr std::uint32_t kReadWithPower = 2;
constexpr std::uint32_t kReadWithoutPower = 1;
constexpr std::uint64_t kKilowatt = 1000;

std::wstring PowerText(std::uint64_t watts) {
    if (watts < kKilowatt) return std::to_wstring(watts) + L" W";
    char text[32] = {};
    FormatTo(text, "%.2f kW", static_cast<double>(watts) / static_cast<double>(kKilowatt));
    return {text, text + std::char_traits<char>::length(text)};
}

}  // namespace

std::wstring MiningSummary(const MinerConfiguration& configuration, const CAlgorithmList& algorithms) {
    std::map<std::wstring, std::uint64_t> rates;
    GpuCounters sums;
    std::uint32_t hottest = 0;
    std::uint64_t watts = 0;
    for (const ConfigurationEntry& entry : configuration.configurations) {
        const GpuCounters counters = SumGpuCounters(entry.gpus);
        rates[PoolUnit(*entry.primaryPool, algorithms)] += counters.hashSpeed;
        sums.accepted += counters.accepted;
        sums.stale += counters.stale;
        sums.rejected += counters.rejected;
        for (const QvGpuRecord* gpu : entry.gpus) {
            const bool isRead = gpu->telemetryState == kReadWithPower || gpu->telemetryState == kReadWithoutPower;
            if (isRead) hottest = std::max<std::uint32_t>(hottest, gpu->temperature);
            if (gpu->telemetryState == kReadWithPower) watts += gpu->powerUsage;
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

std::optional<std::wstring> CNotices::Look(std::span<const std::int32_t> troubled, TimeSpan now) {
    std::erase_if(m_told, [&](std::int32_t gpu) { return std::ranges::find(troubled, gpu) == troubled.end(); });
    std::vector<std::int32_t> fresh;
    for (const std::int32_t gpu : troubled) {
        if (std::ranges::find(m_told, gpu) == m_told.end() && std::ranges::find(fresh, gpu) == fresh.end())
            fresh.push_back(gpu);
    }
    if ((fresh.empty() && !m_stopped) || (m_last && now - *m_last < kPause)) return std::nullopt;
    std::wstring text = m_stopped ? L"Mining has stopped by itself." : L"Not mining:";
    if (!m_stopped) {
        for (const std::int32_t gpu : fresh)
            text.append(gpu == fresh.front() ? L" GPU " : L", GPU ").append(std::to_wstring(gpu));
    }
    m_told.assign(troubled.begin(), troubled.end());
    m_stopped = false;
    m_last = now;
    return text;
}
