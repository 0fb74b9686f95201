#include "control/ControlSecurity.h"
#include <algorithm>
#include "common/IpAddress.h"
#include "common/Utf8.h"

namespace {

std::wstring AddressText(std::uint32_t address) {
    return address == 0 ? L"every address of this machine" : Ipv4Text(address);
}

std::wstring EndpointText(std::uint32_t address, std::uint32_t port) {
    if (address == 0) return L"port " + std::to_wstring(port) + L" of " + AddressText(address);
    return AddressText(address) + L":" + std::to_wstring(port);
}

// Windows Sockets' numbers.
constexpr std::uint32_t kAccessDenied = 10013;
constexpr std::uint32_t kAddressInUse = 10048;
constexpr std::uint32_t kAddressNotAvailable = 10049;

std::wstring ListenReason(std::uint32_t error) {
    switch (error) {
        case kAccessDenied:
            return L"Windows does not allow the port";
        case kAddressInUse:
            return L"the port is taken by another program";
        case kAddressNotAvailable:
            return L"this PC does not have the address now";
        default:
            return L"Windows Sockets error " + std::to_wstring(error);
    }
}

constexpr char32_t kLostCharacter = 0xFFFD;  // what converters put in place of one
constexpr std::size_t kShownCharacters = 80;
constexpr std::string_view kBlank = " \t";

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

std::wstring ListenWarning(std::uint32_t address, std::uint32_t port, bool hasToken) {
    if (hasToken || IsLoopback(address)) return {};
    return L"Warning: the control channel listens on " + AddressText(address) + L", port " + std::to_wstring(port) +
           L", without a password: whoever reaches it controls this miner. ControlToken in RuntimeSettingsMiner.xml sets "
           L"one.";
}

std::wstring ListenTrouble(std::uint32_t address, std::uint32_t port, std::uint32_t error) {
    return EndpointText(address, port) + L": " + ListenReason(error) + L"; trying again every " +
           std::to_wstring(kListenAgainSeconds) + L" s";
}

std::wstring TokenTrouble(std::string_view token) {
    if (token.empty()) return {};
    std::size_t characters = 0;
    for (; !token.empty(); ++characters) {
        const std::optional<char32_t> character = TakeUtf8(token);
        if (!character || *character == kLostCharacter || *character < U' ')
            return L"ControlToken in RuntimeSettingsMiner.xml has characters that cannot be read; the control channel stays "
                   L"closed";
    }
    if (characters >= kFewestTokenCharacters) return {};
    return L"ControlToken in RuntimeSettingsMiner.xml is too short, it needs " + std::to_wstring(kFewestTokenCharacters) +
           L" characters; the control channel stays closed";
}

std::optional<std::wstring> HttpRequestOf(std::string_view line) {
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
