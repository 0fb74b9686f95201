#include "common/Hex.h"

#include <algorithm>
#include <array>

namespace {

struct DigitPair {
    char high;
    char low;
};

constexpr std::array<DigitPair, 256> MakePairs() {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::array<DigitPair, 256> pairs{};
    for (std::size_t value = 0; value < pairs.size(); ++value) {
        pairs[value] = {kDigits[value >> 4], kDigits[value & 15]};
    }
    return pairs;
}

constexpr std::array<DigitPair, 256> kPairs = MakePairs();

constexpr unsigned DigitValue(char digit) {
    if (digit >= '0' && digit <= '9') return static_cast<unsigned>(digit - '0');
    if (digit >= 'a' && digit <= 'f') return static_cast<unsigned>(digit - 'a') + 10;
    if (digit >= 'A' && digit <= 'F') return static_cast<unsigned>(digit - 'A') + 10;
    return 0;
}

}  // namespace

std::size_t HexEncode(std::span<const std::uint8_t> bytes, std::span<char> out) noexcept {
    const std::size_t count = std::min(bytes.size(), out.size() / 2);
    for (std::size_t i = 0; i < count; ++i) {
        out[2 * i] = kPairs[bytes[i]].high;
        out[2 * i + 1] = kPairs[bytes[i]].low;
    }
    return 2 * count;
}

std::string HexText(std::span<const std::uint8_t> bytes) {
    std::string text(2 * bytes.size(), '\0');
    HexEncode(bytes, text);
    return text;
}

std::size_t HexDecode(std::string_view digits, std::span<std::uint8_t> out) noexcept {
    const std::size_t count = std::min(digits.size() / 2, out.size());
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<std::uint8_t>(DigitValue(digits[2 * i]) << 4 | DigitValue(digits[2 * i + 1]));
    }
    return count;
}
