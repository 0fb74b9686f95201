#include "rig/CleanText.h"

#include <algorithm>

#include "common/Utf8.h"

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool IsShown(char32_t character) noexcept {
    if (character < 0x20 || (character >= 0x7F && character < 0xA0)) return false;
    // Marks that turn the direction of text around could disguise what stands beside them.
    const bool turnsText = (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
    return !turnsText && character != 0x2028 && character != 0x2029;
}

}  // namespace

std::string CleanText(std::string_view text, std::size_t maxBytes) {
    std::string clean;
    clean.reserve(std::min(text.size(), maxBytes));
    while (!text.empty()) {
        const std::string_view before = text;
        const std::optional<char32_t> character = TakeUtf8(text);
        const bool shown = character && IsShown(*character);
        const std::string_view piece = shown ? before.substr(0, before.size() - text.size()) : kReplacement;
        if (clean.size() + piece.size() > maxBytes) break;
        clean += piece;
    }
    return clean;
}

bool IsPlainAscii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

std::string_view Trimmed(std::string_view text) noexcept {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}
