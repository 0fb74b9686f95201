#include "gui/PortText.h"

#include "gui/FieldText.h"

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
