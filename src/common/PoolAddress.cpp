#include "common/PoolAddress.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kMaxNamedBytes = 40;  // of what a reason repeats
constexpr std::array<std::string_view, 6> kPlainSchemes = {"stratum+tcp",  "stratum",      "tcp",
                                                           "ethproxy+tcp", "stratum1+tcp", "stratum2+tcp"};

PoolAddress Refused(std::string reason) {
    return {{}, std::nullopt, std::move(reason)};
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsSchemeCharacter(char c) {
    return (c >= 'a' && c <= 'z') || IsDigit(c) || c == '+' || c == '-' || c == '.';
}

// Empty: it means plain TCP.
std::string SchemeMistake(std::string_view written) {
    std::string scheme(written);
    std::ranges::transform(scheme, scheme.begin(), Lower);
    if (std::ranges::find(kPlainSchemes, scheme) != kPlainSchemes.end()) return {};
    if (scheme.empty() || scheme.size() > kMaxNamedBytes || !std::ranges::all_of(scheme, IsSchemeCharacter))
        return "what stands before \"://\" is no scheme";
    const std::string_view transport = std::string_view(scheme).substr(scheme.rfind('+') + 1);  // all of it without a '+'
    const bool isEncrypted = transport == "ssl" || transport == "tls" || scheme == "stratums";
    if (isEncrypted)
        return "encrypted connections (" + scheme + "://) are not supported yet: use the pool's port for plain TCP";
    return scheme + ":// is not supported: a pool is reached by stratum+tcp://, or without a scheme";
}

bool IsIpv6(std::string_view text) {
    const std::string_view digits = text.substr(0, text.find('%'));  // behind it stands the zone
    return std::ranges::count(digits, ':') >= 2 &&
           digits.find_first_not_of("0123456789abcdefABCDEF:.") == std::string_view::npos;
}

std::string HostMistake(std::string_view host) {
    if (host.empty()) return "the host is missing";
    const auto isBlankOrControl = [](char c) { return (static_cast<unsigned char>(c) <= 0x20) || c == 0x7F; };
    if (std::ranges::any_of(host, isBlankOrControl)) return "the host holds blanks or control characters";
    if (host.find_first_of("[]") != std::string_view::npos) return "brackets belong around an IPv6 address only";
    return {};
}

// text: behind the colon.
PoolAddress WithPort(std::string_view host, std::string_view text) {
    std::uint32_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (text.empty() || !std::ranges::all_of(text, IsDigit)) return Refused("the port behind the host is not a number");
    if (error != std::errc() || port < 1 || port > 65535) return Refused("the port behind the host is not from 1 to 65535");
    return {std::string(host), port, {}};
}

PoolAddress Bracketed(std::string_view text) {
    const std::size_t close = text.find(']');
    if (close == std::string_view::npos) return Refused("the closing bracket is missing");
    const std::string_view host = text.substr(1, close - 1);
    if (std::string mistake = HostMistake(host); !mistake.empty()) return Refused(std::move(mistake));
    if (!IsIpv6(host)) return Refused("brackets belong around an IPv6 address only");
    const std::string_view behind = text.substr(close + 1);
    if (behind.empty()) return {std::string(host), std::nullopt, {}};
    if (behind.front() != ':') return Refused("only a port may stand behind the closing bracket");
    return WithPort(host, behind.substr(1));
}

}  // namespace

PoolAddress ParsePoolAddress(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    text = first == std::string_view::npos ? std::string_view() : text.substr(first);
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);  // npos + 1 is 0, and then it is empty already
    if (const std::size_t mark = text.find("://"); mark != std::string_view::npos) {
        if (std::string mistake = SchemeMistake(text.substr(0, mark)); !mistake.empty()) return Refused(std::move(mistake));
        text.remove_prefix(mark + 3);
    }
    text = text.substr(0, text.find_first_of("/?#"));
    if (text.find('@') != std::string_view::npos) return Refused("the wallet belongs in its own field, not before an '@'");
    if (text.starts_with('[')) return Bracketed(text);
    const bool isIpv6 = IsIpv6(text);
    const std::size_t colon = isIpv6 ? std::string_view::npos : text.find(':');
    const std::string_view host = text.substr(0, colon);
    if (std::string mistake = HostMistake(host); !mistake.empty()) return Refused(std::move(mistake));
    if (colon == std::string_view::npos) return {std::string(host), std::nullopt, {}};
    return WithPort(host, text.substr(colon + 1));
}
