#include "gui/GpuText.h"

#include <algorithm>
#include <iterator>

#include "common/CodePage.h"
#include "common/SharedWord.h"
#include "gui/UnitText.h"

std::wstring GpuName(const QvGpuRecord& gpu) {
    return NarrowToWide(std::string_view(gpu.name, std::find(std::begin(gpu.name), std::end(gpu.name), '\0')));
}

std::wstring GpuTypeText(const QvGpuRecord& gpu) {
    return GpuName(gpu).append(L" - (").append(ByteSizeText(gpu.memoryTotal)).append(L")");
}

std::wstring CapabilityText(const QvGpuRecord& gpu) {
    return std::to_wstring(gpu.ccMajor).append(L".").append(std::to_wstring(gpu.ccMinor));
}

std::wstring ShareCountsText(const GpuCounters& counters) {
    std::wstring text = L"A:";
    text.append(std::to_wstring(counters.accepted));
    text.append(L" - S:").append(std::to_wstring(counters.stale));
    return text.append(L" R:").append(std::to_wstring(counters.rejected));
}

std::wstring LastShareText(ddt_datetime lastShare, ddt_datetime now) {
    // One that was sent after the moment that is shown, or before the clock was set back, is of now.
    return lastShare.IsSet() ? SpanText(std::max<TimeSpan>(now.ticks - lastShare.ticks, 0)) : std::wstring();
}

std::wstring TemperatureText(std::uint32_t degrees) {
    return std::to_wstring(degrees).append(L" \u00B0C");
}

std::wstring FanText(std::uint32_t percent) {
    return std::to_wstring(percent).append(L" %");
}

std::wstring ClockText(std::uint32_t megahertz) {
    return std::to_wstring(megahertz).append(L" MHz");
}

namespace {

// Values of QvGpuRecord::telemetryState.
constexpr std::uint32_t kReadWithoutPower = 1;
constexpr std::uint32_t kRead = 2;

}  // namespace

bool HasSensors(const QvGpuRecord& gpu) {
    const std::uint32_t state = ReadShared(gpu.telemetryState);
    return state == kReadWithoutPower || state == kRead;
}

bool HasPower(const QvGpuRecord& gpu) {
    return ReadShared(gpu.telemetryState) == kRead && ReadShared(gpu.powerUsage) != 0;
}

std::wstring PowerText(std::uint32_t watts) {
    if (watts < 1000) return std::to_wstring(watts).append(L" W");
    return FixedText(watts / 1000.0, 2).append(L"kW");
}

std::wstring EfficiencyText(std::uint64_t hashSpeed, std::uint32_t watts, std::wstring_view unit) {
    if (unit.ends_with(L"/s")) unit.remove_suffix(2);
    return RateText(static_cast<double>(hashSpeed) / watts, 1, unit).append(L"/W");
}
