#pragma once
#include <cstdint>
#include <optional>
#include <vector>
#include "common/Time.h"
#include "net/Resolver.h"

// In ms.
struct SocketLimits {
    std::uint32_t attempt = 20'000;      // of an attempt to connect, shared by the addresses of the host, but
    std::uint32_t address = 5000;        // at least this for each
    std::uint32_t lookUp = 30'000;       // until a look-up counts as failed
    std::uint32_t listenAgain = 30'000;  // between tries to listen after the first, quick ones
};

// What a client tries next. An attempt looks the host up and tries its addresses in the resolver's order; each has its time.
// It ends with a connection, or fails with the last address; the next one begins with a look-up, because the host may have
// moved, but after a connection that was lost it begins with the address that worked. A value without sockets, threads and
// clock; now: ticks of IClock::Monotonic.
class CConnectPlan {
  public:
    explicit CConnectPlan(const SocketLimits& limits) : m_limits(limits) {}

    // There is no address to try: the host is to be looked up.
    bool NeedsLookUp() const { return m_next == m_addresses.size(); }

    // What a look-up that found no address means.
    enum class NotFound { Again, Failed };  // Again: the resolver asks for it, and is asked again before anybody is told
    // addresses: what was found, or was known from before.
    std::optional<NotFound> LookedUp(const LookUpAnswer& answer);

    // The address to try now; its time begins.
    HostAddress Next(TimeSpan now);
    // When that time is over; nothing: none is being tried.
    std::optional<TimeSpan> Deadline() const { return m_deadline; }
    // The address being tried has led to nothing. True: it was the last, the attempt has failed.
    bool AddressFailed();
    void Connected() { m_deadline.reset(); }
    // The attempt is given up, whatever is left to try.
    void GiveUp();
    // The connection has ended: the addresses are tried anew, that one first.
    void Lost();

  private:
    const SocketLimits m_limits;
    std::vector<HostAddress> m_addresses;
    std::size_t m_next = 0;
    std::optional<TimeSpan> m_deadline;
    unsigned m_triesAgain = 0;  // answers "try again" of the resolver in a row
};
