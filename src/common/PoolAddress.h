#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct PoolAddress {
    std::string host;                   // an IPv6 address without its brackets
    std::optional<std::uint32_t> port;  // 1 to 65535
    std::string reason;                 // why the text is no usable address, for the user; empty: it is
};

// Takes a pool's server apart as people paste it: blanks around it; "host", "host:port", "[IPv6]:port", a bare IPv6 address;
// before that a scheme that means plain TCP, such as "stratum+tcp://", behind it a path, which is dropped. The text is
// UTF-8; with a reason host and port are empty.
PoolAddress ParsePoolAddress(std::string_view text);
