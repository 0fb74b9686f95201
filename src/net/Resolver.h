#pragma once
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

// An IP address of either family, in network byte order.
struct HostAddress {
    bool isV6 = false;
    std::array<std::uint8_t, 16> bytes = {};  // IPv4: the first four
    std::uint32_t scope = 0;                  // IPv6: the interface of a link-local address

    static HostAddress V4(std::uint32_t word) {
        HostAddress address;
        std::memcpy(address.bytes.data(), &word, sizeof word);
        return address;
    }
    std::uint32_t V4Word() const {
        std::uint32_t word = 0;
        std::memcpy(&word, bytes.data(), sizeof word);
        return word;
    }
    bool operator==(const HostAddress&) const = default;
};

// Answer of a name look-up. error: 0, or the resolver's Windows Sockets code (11002 try again, 11001 not found, ...).
struct ResolveResult {
    std::uint32_t error = 0;
    std::vector<HostAddress> addresses;  // in the order in which the system would try them
};

// The resolver asks to be asked again (WSATRY_AGAIN).
inline constexpr std::uint32_t kResolverTryAgain = 11002;

// What a connection learns of a look-up.
struct LookUpAnswer {
    std::uint32_t error = 0;             // 0 or a Windows Sockets code
    bool timedOut = false;               // the resolver did not answer in time; error is kResolverTryAgain
    std::vector<HostAddress> addresses;  // with an error: what an earlier look-up of this host found, if any
};

// Blocking name look-up (both families, stream, TCP). Called on threads that may outlive the connection that asked.
class IResolver {
  public:
    virtual ~IResolver() = default;
    virtual ResolveResult Resolve(const std::wstring& host) = 0;
};

// GetAddrInfoW. An empty host is "not found": the system would resolve it to this machine.
IResolver& SystemResolver();
