#include "common/PoolAddress.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kMaxNamedBytes = 40;  // of what a reason repeats
constexpr std::string_view kFingerprintMark = "sha256=";
constexpr std::string_view kInsecure = "insecure";
constexpr std::size_t kFingerprintDigits = 64;

// What stands before the '+' of a scheme.
struct SchemeProtocol {
    std::string_view word;
    AddressProtocol protocol;
};
constexpr SchemeProtocol kProtocols[] = {{"stratum", AddressProtocol::Any},
                                         {"ethproxy", AddressProtocol::EthProxy},
                                         {"stratum1", AddressProtocol::Plain},
                                         {"stratum2", AddressProtocol::NiceHash}};

PoolAddress Refused(std::string reason) {
    PoolAddress refused;
    refused.reason = std::move(reason);
    return refused;
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

// Nothing: no carrier of that name.
std::optional<bool> IsEncryptedCarrier(std::string_view word) {
    if (word == "tcp") return false;
    if (word == "ssl" || word == "tls") return true;
    return std::nullopt;
}

// Takes over what the scheme says. Not empty: why it cannot be used.
std::string TakeScheme(std::string_view written, PoolAddress& address) {
    std::string scheme(written);
    std::ranges::transform(scheme, scheme.begin(), Lower);
    if (scheme.empty() || scheme.size() > kMaxNamedBytes || !std::ranges::all_of(scheme, IsSchemeCharacter))
        return "what stands before \"://\" is no scheme";
    if (scheme == "stratum" || scheme == "stratums") {
        address.encryption.isEncrypted = scheme == "stratums";
        return {};
    }
    const std::size_t plus = scheme.find('+');
    const std::optional<bool> isEncrypted =
        IsEncryptedCarrier(std::string_view(scheme).substr(plus == std::string::npos ? 0 : plus + 1));
    const auto* const protocol =
        plus == std::string::npos
            ? std::begin(kProtocols)
            : std::ranges::find(kProtocols, std::string_view(scheme).substr(0, plus), &SchemeProtocol::word);
    if (!isEncrypted || protocol == std::end(kProtocols))
        return scheme + ":// is not supported: a pool is reached by stratum+tcp:// or stratum+ssl://, or without a scheme";
    address.encryption.isEncrypted = *isEncrypted;
    address.protocol = protocol->protocol;
    return {};
}

// Takes over what stands behind the '#'. Not empty: why it cannot be used.
std::string TakeFragment(std::string_view fragment, PoolEncryption& encryption) {
    if (!encryption.isEncrypted || fragment.empty()) return {};
    std::string text(fragment);
    std::ranges::transform(text, text.begin(), Lower);
    if (text == kInsecure) {
        encryption.isUnchecked = true;
        return {};
    }
    const std::optional<std::string> digits = text.starts_with(kFingerprintMark)
                                                  ? ParseFingerprint(std::string_view(text).substr(kFingerprintMark.size()))
                                                  : std::nullopt;
    if (!digits) return "behind the '#' belongs sha256= and the 64 digits of the certificate's fingerprint, or insecure";
    encryption.fingerprint = *digits;
    return {};
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

PoolAddress At(std::string_view host, std::optional<std::uint32_t> port = {}) {
    PoolAddress address;
    address.host = host;
    address.port = port;
    return address;
}

// text: behind the colon.
PoolAddress WithPort(std::string_view host, std::string_view text) {
    std::uint32_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (text.empty() || !std::ranges::all_of(text, IsDigit)) return Refused("the port behind the host is not a number");
    if (error != std::errc() || port < 1 || port > 65535) return Refused("the port behind the host is not from 1 to 65535");
    return At(host, port);
}

PoolAddress Bracketed(std::string_view text) {
    const std::size_t close = text.find(']');
    if (close == std::string_view::npos) return Refused("the closing bracket is missing");
    const std::string_view host = text.substr(1, close - 1);
    if (std::string mistake = HostMistake(host); !mistake.empty()) return Refused(std::move(mistake));
    if (!IsIpv6(host)) return Refused("brackets belong around an IPv6 address only");
    const std::string_view behind = text.substr(close + 1);
    if (behind.empty()) return At(host);
    if (behind.front() != ':') return Refused("only a port may stand behind the closing bracket");
    return WithPort(host, behind.substr(1));
}

// host, port and what may stand around them, without scheme and fragment.
PoolAddress HostAndPort(std::string_view text) {
    text = text.substr(0, text.find_first_of("/?"));
    if (text.find('@') != std::string_view::npos) return Refused("the wallet belongs in its own field, not before an '@'");
    if (text.starts_with('[')) return Bracketed(text);
    const std::size_t colon = IsIpv6(text) ? std::string_view::npos : text.find(':');
    const std::string_view host = text.substr(0, colon);
    if (std::string mistake = HostMistake(host); !mistake.empty()) return Refused(std::move(mistake));
    if (colon == std::string_view::npos) return At(host);
    return WithPort(host, text.substr(colon + 1));
}

std::uint32_t ReadPort(const std::wstring& text, std::size_t from) {
    std::uint32_t port = 0;
    for (std::size_t i = text.find_first_not_of(L" \t", from); i < text.size(); ++i) {
        if (text[i] < L'0' || text[i] > L'9') break;
        port = (port * 10 + static_cast<std::uint32_t>(text[i] - L'0')) % 65536;
    }
    return port;
}

}  // namespace

PoolAddress ParsePoolAddress(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    text = first == std::string_view::npos ? std::string_view() : text.substr(first);
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);  // npos + 1 is 0, and then it is empty already
    PoolAddress asked;
    if (const std::size_t mark = text.find("://"); mark != std::string_view::npos) {
        if (std::string mistake = TakeScheme(text.substr(0, mark), asked); !mistake.empty())
            return Refused(std::move(mistake));
        text.remove_prefix(mark + 3);
    }
    const std::size_t hash = text.find('#');
    const std::string_view fragment = hash == std::string_view::npos ? std::string_view() : text.substr(hash + 1);
    PoolAddress address = HostAndPort(text.substr(0, hash));
    if (!address.reason.empty()) return address;
    if (std::string mistake = TakeFragment(fragment, asked.encryption); !mistake.empty()) return Refused(std::move(mistake));
    address.encryption = std::move(asked.encryption);
    address.protocol = asked.protocol;
    return address;
}

std::string PoolAddressUrl(const PoolAddress& address) {
    const PoolEncryption& encryption = address.encryption;
    std::string text;
    if (encryption.isEncrypted || address.protocol != AddressProtocol::Any) {
        text = std::ranges::find(kProtocols, address.protocol, &SchemeProtocol::protocol)->word;
        text += encryption.isEncrypted ? "+ssl://" : "+tcp://";
    }
    const bool isIpv6 = IsIpv6(address.host);
    const bool needsBrackets = isIpv6 && (address.port || !text.empty());
    text += needsBrackets ? "[" + address.host + "]" : address.host;
    if (address.port) text += ":" + std::to_string(*address.port);
    if (!encryption.isEncrypted) return text;
    if (encryption.isUnchecked) return text.append("#").append(kInsecure);
    if (!encryption.fingerprint.empty()) text.append("#").append(kFingerprintMark).append(encryption.fingerprint);
    return text;
}

std::optional<std::string> ParseFingerprint(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        const char digit = Lower(c);
        if (IsDigit(digit) || (digit >= 'a' && digit <= 'f'))
            digits += digit;
        else if (c != ':' && c != ' ')
            return std::nullopt;
    }
    return digits.size() == kFingerprintDigits ? std::optional(std::move(digits)) : std::nullopt;
}

std::uint32_t CutPort(std::wstring& hostText, std::uint32_t defaultPort) {
    if (const std::size_t close = hostText.find(L']'); hostText.starts_with(L'[') && close != std::wstring::npos) {
        const std::wstring behind = hostText.substr(close + 1);
        if (!behind.empty() && behind[0] != L':') return defaultPort;  // no address either: the look-up says so
        hostText = hostText.substr(1, close - 1);
        return behind.empty() ? defaultPort : ReadPort(behind, 1);
    }
    const std::size_t colon = hostText.find(L':');
    if (colon == std::wstring::npos) return defaultPort;
    const bool isIPv6 = hostText.find(L':', colon + 1) != std::wstring::npos &&
                        hostText.find_first_not_of(L"0123456789abcdefABCDEF:.%") == std::wstring::npos;
    // What can be no host is left whole, so that the message about it is understood.
    if (isIPv6 || hostText.starts_with(L'[') || hostText.find(L"://") != std::wstring::npos) return defaultPort;
    const std::uint32_t port = ReadPort(hostText, colon + 1);
    hostText.erase(colon);
    return port;
}
