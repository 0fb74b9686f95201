#pragma once
#include <cstdint>
#include <string>
#include <vector>
#include "common/IpAddress.h"

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
