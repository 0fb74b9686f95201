#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::uint16_t kDefaultRigPort = 8010;

struct RigAddress {
    std::string host;
    std::uint16_t port = kDefaultRigPort;

    std::string Text() const;  // host:port, with brackets around an IPv6 address
    bool operator==(const RigAddress&) const = default;
};

// HOST, HOST:PORT, [IPV6] or [IPV6]:PORT; port 0 only where allowZero.
std::optional<RigAddress> ParseRigAddress(std::string_view text, std::uint16_t defaultPort = kDefaultRigPort,
                                          bool allowZero = false);

// A rigs file: one address a line; blank lines and what follows a '#' do not count.
struct RigList {
    std::vector<RigAddress> rigs;
    std::vector<std::string> mistakes;  // each with its line number
};
RigList ParseRigList(std::string_view text);
