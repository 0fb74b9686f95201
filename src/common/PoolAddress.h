#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

inline constexpr std::size_t kMaximumHostCharacters = 259;

// What an address asks of the connection beyond its being made.
struct PoolEncryption {
    bool isEncrypted = false;  // TLS; the rest means something only with it
    std::string
        fingerprint;  // SHA-256 of the one certificate that is taken, 64 digits in lower case; empty: the system judges
    bool isUnchecked = false;  // any certificate is taken
    bool operator==(const PoolEncryption&) const = default;
};

// The protocol that an address names; the numbers are those of the protocol modes.
enum class AddressProtocol { Any = -1, EthProxy = 0, Plain = 1, NiceHash = 2 };

struct PoolAddress {
    std::string host;                   // an IPv6 address without its brackets
    std::optional<std::uint32_t> port;  // 1 to 65535
    PoolEncryption encryption;
    AddressProtocol protocol = AddressProtocol::Any;
    std::string reason;  // why the text is no usable address, for the user; empty: it is
};

// Takes a pool's server apart as people paste it: blanks around it; "host", "host:port", "[IPv6]:port", a bare IPv6 address;
// before that a scheme: "stratum+", "ethproxy+", "stratum1+" or "stratum2+" with "tcp", "ssl" or "tls", or "stratum", "tcp",
// "ssl", "tls", "stratums" alone; behind it a path, which is dropped. Behind a '#' stands, with an encrypted scheme,
// "sha256=" and the fingerprint of the one certificate that is taken, or "insecure"; otherwise that is dropped, too. The
// text is UTF-8; with a reason the rest is empty.
PoolAddress ParsePoolAddress(std::string_view text);

// The address as a text that ParsePoolAddress takes, without what is not needed: "host", "host:port",
// "stratum+ssl://host:port#sha256=...". Not for one with a reason.
std::string PoolAddressUrl(const PoolAddress& address);

// 64 hexadecimal digits in either case, blanks and colons between them not counted, in lower case; nothing: it is no
// fingerprint.
std::optional<std::string> ParseFingerprint(std::string_view text);

// Takes the port off a host's text in place and returns it:
//     "host:port" is cut at the colon; the port is the decimal number behind it, modulo 65536 (0 when there is none)
//     "[IPv6]:port" and "[IPv6]" are left without their brackets; without a colon: defaultPort
//     an IPv6 address without brackets, a text without a colon and one with "://" are left as they are: defaultPort
std::uint32_t CutPort(std::wstring& hostText, std::uint32_t defaultPort);
