#include "gui/UnitText.h"

#include <limits>
#include <span>

#include "common/AlgorithmNames.h"
#include "common/CodePage.h"
#include "common/Format.h"

namespace {

constexpr const wchar_t* kRatePrefixes[] = {L"", L"k", L"M", L"G", L"T"};
constexpr const wchar_t* kByteUnits[] = {L"B", L"kB", L"MB", L"GB"};
constexpr std::uint64_t kHighestShown = 1024;

struct Scale {
    std::uint64_t divisor = 1;
    const wchar_t* name = L"";
};

// The last name serves every larger number.
Scale ScaleOf(std::uint64_t value, std::uint64_t step, std::span<const wchar_t* const> names) {
    Scale scale{1, names.front()};
    for (const wchar_t* name : names.subspan(1)) {
        if (value / scale.divisor <= kHighestShown) break;
        scale = {scale.divisor * step, name};
    }
    return scale;
}

std::wstring ScaledText(double value, std::uint64_t whole, int decimals, std::wstring_view unit) {
    const Scale scale = ScaleOf(whole, 1000, kRatePrefixes);
    return FixedText(value / static_cast<double>(scale.divisor), decimals).append(scale.name).append(unit);
}

}  // namespace

std::wstring FixedText(double value, int decimals) {
    char text[64] = {};
    FormatTo(text, "%.*f ", decimals, value);
    return {text, text + std::char_traits<char>::length(text)};
}

std::wstring HashRateText(std::uint64_t value, std::wstring_view unit) {
    return ScaledText(static_cast<double>(value), value, 3, unit);
}

std::wstring RateText(double value, int decimals, std::wstring_view unit) {
    return ScaledText(value, static_cast<std::uint64_t>(value), decimals, unit);
}

std::wstring DifficultyText(double value, std::wstring_view unit) {
    constexpr double kTooLarge = 18446744073709551616.0;  // 2^64
    if (!(value > 0.0)) return {};
    if (value >= kTooLarge) return HashRateText(std::numeric_limits<std::uint64_t>::max(), unit);
    return RateText(value, 3, unit);
}

std::wstring ByteSizeText(std::uint64_t value) {
    const Scale scale = ScaleOf(value, 1024, kByteUnits);
    return FixedText(static_cast<double>(value) / static_cast<double>(scale.divisor), 1).append(scale.name);
}

namespace {

constexpr wchar_t kNoPlugIn[] = L" - no plug-in";

bool HasPlugIn(std::int32_t id, const CAlgorithmList& algorithms) {
    return &algorithms.Find(id) != &algorithms.Fallback();
}

}  // namespace

std::wstring AlgorithmText(std::int32_t id, const CAlgorithmList& algorithms) {
    const bool hasPlugIn = HasPlugIn(id, algorithms);
    const std::wstring name = hasPlugIn ? algorithms.Find(id).record.name : NarrowToWide(AlgorithmName(id));
    const std::wstring number = std::to_wstring(id);
    return (name.empty() ? number : name + L" (" + number + L")") + (hasPlugIn ? L"" : kNoPlugIn);
}

std::wstring PoolText(const PoolEntry& pool, const CAlgorithmList& algorithms) {
    const bool isMarked = !pool.IsUnassigned() && !HasPlugIn(pool.Algo, algorithms);
    return std::wstring(pool.Name) + (isMarked ? kNoPlugIn : L"");
}
