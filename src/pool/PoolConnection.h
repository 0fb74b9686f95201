#pragma once
#include <cstdint>
#include <string_view>
#include "pool/StratumSession.h"

// A pool session with the transport that carries it: a socket with a thread of its own, or what stands in for one. One
// thread steers it. Its session is read by any thread; it may be changed (pools, reset) only while nothing runs.
class IPoolConnection {
  public:
    virtual ~IPoolConnection() = default;
    virtual CStratumSession& Session() = 0;
    // Resets the session and connects to its current pool, from then on again and again. Nothing while it runs, and without
    // a pool.
    virtual void Connect() = 0;
    // When it has returned nothing of the connection runs any more.
    virtual void CloseConnection() = 0;
    virtual bool IsRunning() const = 0;
    // One request, line feed included. 0, or why it was not sent.
    virtual std::uint32_t SendRequest(std::string_view text) = 0;
};
