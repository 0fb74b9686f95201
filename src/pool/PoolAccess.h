#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>
#include "common/Time.h"
#include "config/MinerConfiguration.h"
#include "pool/ProtocolMode.h"

// One measurement: true and the round-trip time in ms, or false.
using PingFunction = std::function<bool(const PoolEntry& pool, std::uint32_t& roundTrip)>;

inline constexpr std::uint32_t kUnreachableScore = 999999;

// Five pings; the sum of the middle three round-trip times. A failed ping ends the series: kUnreachableScore.
std::uint32_t LatencyScore(const PoolEntry& pool, const PingFunction& ping);

// Nearest first. Blocks for up to five time-outs a pool: never on the GUI thread.
std::vector<PoolPointer> OrderByLatency(std::vector<PoolPointer> pools, const PingFunction& ping);

// How a session gets at its pools in one run of mining: the protocol mode to try, when the next pool's turn comes, how long
// to wait between two attempts, when there is no hope. Pure: all times are ticks of IClock::Monotonic. One thread at a time.
//
// A pool "has settled" once it accepted a login in this run: what fails afterwards is an outage, which it will come back
// from.
class CPoolAccess {
  public:
    struct Verdict {
        bool changePool = false;  // the next pool of the list, behind the last the first (with one pool: the same again)
        bool giveUp = false;      // no protocol mode works with the only pool, which has never settled
    };

    // Forgets all; the first pool is tried next. firstModes: of each pool, in failover order.
    void SetPools(const std::vector<ProtocolMode>& firstModes, TimeSpan now);
    // A connection to that pool will be tried next.
    void TakePool(std::size_t index, TimeSpan now);

    ProtocolMode Mode() const { return m_mode; }  // for the next login
    // The pool turned out to speak another mode than was tried.
    void Detected(ProtocolMode mode) { m_mode = mode; }

    void Connected(TimeSpan now);
    void LoggedIn();
    void JobCame(TimeSpan now);
    // The connection that is about to end gave jobs, but was worth nothing: the pool's turn is over, if there is another.
    void WasWorthless();
    // No connection came about.
    Verdict ConnectFailed(TimeSpan now);
    // An established connection has ended, whoever ended it, unless nobody wants it any more.
    Verdict ConnectionLost(TimeSpan now);

    // When the next attempt is due.
    TimeSpan NextAttempt() const;
    // Attempts that brought no job, since one did, on any pool.
    std::uint32_t Failures() const { return m_failures; }

  private:
    struct Pool {
        ProtocolMode first = ProtocolMode::EthProxy;
        ProtocolMode settled = ProtocolMode::None;
        ProtocolMode next = ProtocolMode::EthProxy;  // while it has not settled
        std::uint32_t losses = 0;                    // connections in a row that did not last
        std::uint32_t rounds = 0;                    // of all modes, failed; while it has not settled
        TimeSpan firstLoss = 0;
        TimeSpan nextAttempt = 0;
    };

    Pool& Current() { return m_pools[m_index]; }
    void ChooseMode();
    bool ModeFailed();
    static bool NextOf(Pool& pool);
    void BeginOutage(TimeSpan now);
    bool IsTurnOver(TimeSpan now) const;
    Verdict Change(TimeSpan now);
    TimeSpan PauseAfter(std::uint32_t losses) const;

    std::vector<Pool> m_pools = std::vector<Pool>(1);
    std::size_t m_index = 0;
    ProtocolMode m_mode = ProtocolMode::EthProxy;
    std::uint32_t m_connectErrors = 0;  // since the last connection, or since the pool was taken
    std::uint32_t m_disconnects = 0;
    bool m_everConnected = false;
    TimeSpan m_lastConnect = 0;  // since when disconnects count together
    TimeSpan m_connected = 0;
    bool m_loggedIn = false;  // on this connection, like the next
    bool m_hadJob = false;
    TimeSpan m_jobTime = 0;
    bool m_outage = false;  // no job since the last loss
    std::uint32_t m_failures = 0;
    std::uint32_t m_turns = 0;  // pool changes in this outage
    TimeSpan m_turnSince = 0;
    TimeSpan m_changing = 0;  // not before: somebody else is to take the next pool
};
