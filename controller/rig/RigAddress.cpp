#include "rig/RigAddress.h"

#include <algorithm>
#include <charconv>

#include "rig/CleanText.h"

namespace {

constexpr std::size_t kMaxHostBytes = 253;

bool IsHostCharacter(char c) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    return letter || (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
}

bool IsIpv6Character(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == ':' || c == '.' || c == '%';
}

std::optional<std::uint16_t> ParsePort(std::string_view text, bool allowZero) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || (port == 0 && !allowZero)) return std::nullopt;
    return port;
}

}  // namespace

std::string RigAddress::Text() const {
    const bool ipv6 = host.find(':') != std::string::npos;
    return (ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

std::optional<RigAddress> ParseRigAddress(std::string_view text, std::uint16_t defaultPort, bool allowZero) {
    RigAddress address{{}, defaultPort};
    const bool bracketed = text.starts_with('[');
    if (bracketed) {
        const std::size_t close = text.find(']');
        if (close == std::string_view::npos) return std::nullopt;
        address.host = text.substr(1, close - 1);
        text.remove_prefix(close + 1);
    } else {
        address.host = text.substr(0, text.find(':'));
        text.remove_prefix(address.host.size());
    }
    const auto fits = bracketed ? IsIpv6Character : IsHostCharacter;
    const bool hostGood = !address.host.empty() && address.host.size() <= kMaxHostBytes &&
                          std::all_of(address.host.begin(), address.host.end(), fits);
    if (!hostGood) return std::nullopt;
    if (text.empty()) return address;
    if (!text.starts_with(':')) return std::nullopt;
    const std::optional<std::uint16_t> port = ParsePort(text.substr(1), allowZero);
    if (!port) return std::nullopt;
    address.port = *port;
    return address;
}

RigList ParseRigList(std::string_view text) {
    RigList list;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, length);
        text.remove_prefix(std::min(length + 1, text.size()));
        line = Trimmed(line.substr(0, line.find('#')));
        if (line.empty()) continue;
        const std::optional<RigAddress> rig = ParseRigAddress(line);
        if (rig)
            list.rigs.push_back(*rig);
        else
            list.mistakes.push_back("line " + std::to_string(number) + ": not HOST:PORT: " + CleanText(line, 80));
    }
    return list;
}
