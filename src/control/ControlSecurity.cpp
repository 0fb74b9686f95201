#include "control/ControlSecurity.h"
#include <algorithm>

namespace {

constexpr std::uint32_t kLoopbackNetwork = 127;

constexpr std::uint32_t Octet(std::uint32_t address, unsigned place) {
    return address >> (8 * place) & 0xFF;
}

std::wstring AddressText(std::uint32_t address) {
    if (address == 0) return L"every address of this machine";
    std::wstring text = std::to_wstring(Octet(address, 0));
    for (unsigned place = 1; place < 4; ++place)
        text.append(L".").append(std::to_wstring(Octet(address, place)));
    return text;
}

constexpr std::size_t kShownCharacters = 80;

// Of a method's name (RFC 9110).
constexpr bool IsTokenCharacter(char c) {
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    return isLetter || (c >= '0' && c <= '9') || std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

std::wstring ShownText(std::string_view text) {
    std::wstring shown;
    for (const char c : text.substr(0, kShownCharacters))
        shown.push_back(c >= ' ' && c <= '~' ? static_cast<wchar_t>(c) : L'?');
    return text.size() > kShownCharacters ? shown + L"..." : shown;
}

}  // namespace

bool IsSameToken(std::string_view given, std::string_view expected) {
    if (given.size() != expected.size()) return false;
    // Volatile: the compiler is not to find out that the answer may be known before the end.
    volatile unsigned difference = 0;
    for (std::size_t i = 0; i < expected.size(); ++i)
        difference = difference | (static_cast<unsigned char>(given[i]) ^ static_cast<unsigned char>(expected[i]));
    return difference == 0;
}

bool IsLoopback(std::uint32_t address) {
    return Octet(address, 0) == kLoopbackNetwork;
}

std::wstring ListenWarning(std::uint32_t address, std::uint32_t port, bool hasToken) {
    if (hasToken || IsLoopback(address)) return {};
    return L"Warning: the control channel listens on " + AddressText(address) + L", port " + std::to_wstring(port) +
           L", without a password: whoever reaches it controls this miner. ControlToken in RuntimeSettingsMiner.xml sets "
           L"one.";
}

std::optional<std::wstring> HttpRequestOf(std::string_view line) {
    constexpr std::string_view kBlank = " \t";
    const auto takeBlanks = [&line] { line.remove_prefix(std::min(line.find_first_not_of(kBlank), line.size())); };
    const auto methodEnd = std::ranges::find_if_not(line, IsTokenCharacter);
    const std::string_view method(line.begin(), methodEnd);
    line.remove_prefix(method.size());
    if (method.empty() || line.find_first_of(kBlank) != 0) return std::nullopt;
    takeBlanks();
    const std::string_view target = line.substr(0, line.find_first_of(kBlank));
    line.remove_prefix(target.size());
    takeBlanks();
    if (target.empty() || !line.starts_with("HTTP/")) return std::nullopt;
    return ShownText(method) + L" " + ShownText(target);
}
