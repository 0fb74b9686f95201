#include "gui/FieldText.h"

#include <algorithm>

#include "common/CodePage.h"

namespace {

constexpr std::wstring_view kWhiteSpace = L" \t\r\n\u00A0";

bool IsControl(wchar_t c) {
    const auto code = static_cast<char32_t>(c);
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

bool Survives(wchar_t c) {
    const std::wstring_view text(&c, 1);
    return NarrowToWide(WideToNarrow(text)) == text;
}

}  // namespace

std::wstring Trimmed(std::wstring_view text) {
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::wstring_view::npos) return {};
    return std::wstring(text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1));
}

std::wstring CheckFieldText(std::wstring_view text, std::size_t maxChars) {
    if (text.size() > maxChars) return std::wstring(L"At most ").append(std::to_wstring(maxChars)).append(L" characters");
    if (std::any_of(text.begin(), text.end(), IsControl)) return L"Holds a control character";
    const auto lost = std::find_if_not(text.begin(), text.end(), Survives);
    if (lost == text.end()) return {};
    const std::wstring_view whole(&*lost, lost + 1 != text.end() && *lost >= 0xD800 && *lost < 0xDC00 ? 2 : 1);
    return std::wstring(L"Cannot be stored: ").append(whole);
}

namespace {

constexpr std::uint32_t kLastPort = 65535;

bool HasSpace(std::wstring_view text) {
    return text.find_first_of(L" \t") != std::wstring_view::npos;
}

bool IsNumber(std::wstring_view text) {
    return text.find_first_not_of(L"0123456789") == std::wstring_view::npos;
}

}  // namespace

PortResult ParsePort(std::wstring_view typed) {
    const std::wstring text = Trimmed(typed);
    if (text.empty()) return {0, L"Enter a port"};
    if (HasSpace(text)) return {0, L"No spaces, please"};
    if (!IsNumber(text)) return {0, L"Not a number"};
    std::uint32_t port = 0;
    for (const wchar_t digit : text) {
        port = port * 10 + static_cast<std::uint32_t>(digit - L'0');
        if (port > kLastPort) break;
    }
    if (port == 0 || port > kLastPort) return {0, L"From 1 to 65535"};
    return {port, {}};
}
