#pragma once
#include <cstdint>
#include <memory>
#include <string>

// Answer of a name look-up. error: 0, or the resolver's Windows Sockets code (11002 try again, 11001 not found, ...).
struct ResolveResult {
    std::uint32_t error = 0;
    std::uint32_t address = 0;  // IPv4, network byte order
};

// Blocking name look-up (IPv4, stream, TCP). Called on threads that may outlive the connection that asked.
class IResolver {
  public:
    virtual ~IResolver() = default;
    virtual ResolveResult Resolve(const std::wstring& host) = 0;
};

// GetAddrInfoW. An empty host is "not found": the system would resolve it to this machine.
IResolver& SystemResolver();
