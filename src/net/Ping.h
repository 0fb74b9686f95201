#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>
#include "net/Resolver.h"

// The answer to one echo request. The reply buffer is released with the record.
struct PingReply {
    std::uint16_t family = 0;     // 2: IPv4
    std::uint32_t address = 0;    // who answered, network byte order
    std::uint32_t roundTrip = 0;  // ms
    std::uint32_t status = 0;     // IP_STATUS
    std::vector<std::uint8_t> buffer;
};

struct PingOptions {
    std::uint8_t timeToLive = 128;
    std::uint32_t timeoutMilliseconds = 1500;
    std::uint16_t requestSize = 32;
    std::uint8_t typeOfService = 0;
    bool dontFragment = false;
    bool reverseRoute = false;
    std::wstring localAddress = {};  // empty: the system's choice
};

// ICMP echo through the IP Helper. Blocks for the look-up and at most the time-out; any thread but the GUI's.
class CPing {
  public:
    virtual ~CPing() = default;
    // What the request carries: 'E' throughout.
    virtual void FillRequestData(std::uint8_t* buffer, std::size_t size) const;

    // True when a reply arrived. Otherwise GetLastError: the resolver's code, 1460 (no reply in time), 14 (no memory).
    bool Ping(const std::wstring& host, PingReply& reply, const PingOptions& options = {}) const;

  private:
    bool SendEcho(const std::wstring& host, PingReply& reply, const PingOptions& options) const;
};
