#include "HexField.h"

#include "common/Hex.h"

namespace {

constexpr std::string_view kDigits = "0123456789abcdefABCDEF";

bool AllDigits(std::string_view text) {
    return text.find_first_not_of(kDigits) == std::string_view::npos;
}

}  // namespace

bool ReadHex(std::string_view digits, std::span<std::uint8_t> out) {
    return digits.size() == out.size() * 2 && AllDigits(digits) && HexDecode(digits, out) == out.size();
}

std::optional<std::string_view> AfterPrefix(std::string_view text) {
    if (!text.starts_with("0x")) return std::nullopt;
    return text.substr(2);
}

std::optional<double> ReadHexNumber(std::string_view text) {
    const std::string_view digits = AfterPrefix(text).value_or(text);
    if (digits.empty() || digits.size() > 64 || !AllDigits(digits)) return std::nullopt;
    double value = 0;
    for (const char c : digits) {
        const std::size_t place = kDigits.find(c);
        value = value * 16 + static_cast<double>(place < 16 ? place : place - 6);
    }
    return value;
}
