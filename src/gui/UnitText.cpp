#include "gui/UnitText.h"

#include <limits>
#include <span>

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

// With a space behind it.
std::wstring Fixed(double value, int decimals) {
    char text[64] = {};
    FormatTo(text, "%.*f ", decimals, value);
    return {text, text + std::char_traits<char>::length(text)};
}

std::wstring RateText(double value, std::uint64_t whole, std::wstring_view unit) {
    const Scale scale = ScaleOf(whole, 1000, kRatePrefixes);
    return Fixed(value / static_cast<double>(scale.divisor), 3).append(scale.name).append(unit);
}

}  // namespace

std::wstring HashRateText(std::uint64_t value, std::wstring_view unit) {
    return RateText(static_cast<double>(value), value, unit);
}

std::wstring DifficultyText(double value, std::wstring_view unit) {
    constexpr double kTooLarge = 18446744073709551616.0;  // 2^64
    if (!(value > 0.0)) return {};
    if (value >= kTooLarge) return HashRateText(std::numeric_limits<std::uint64_t>::max(), unit);
    return RateText(value, static_cast<std::uint64_t>(value), unit);
}

std::wstring ByteSizeText(std::uint64_t value) {
    const Scale scale = ScaleOf(value, 1024, kByteUnits);
    return Fixed(static_cast<double>(value) / static_cast<double>(scale.divisor), 1).append(scale.name);
}
