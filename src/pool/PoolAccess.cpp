#include "pool/PoolAccess.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <numeric>

std::uint32_t LatencyScore(const PoolEntry& pool, const PingFunction& ping) {
    std::array<std::uint32_t, 5> times = {};
    for (std::uint32_t& time : times) {
        if (!ping(pool, time)) return kUnreachableScore;
    }
    const auto [smallest, largest] = std::minmax_element(times.begin(), times.end());
    const std::uint64_t sum = std::accumulate(times.begin(), times.end(), std::uint64_t{0}) - *smallest - *largest;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(sum, kUnreachableScore));
}

std::vector<PoolPointer> OrderByLatency(std::vector<PoolPointer> pools, const PingFunction& ping) {
    struct LatencyEntry {
        PoolPointer pool;
        std::uint32_t score = 0;
    };
    std::vector<LatencyEntry> entries;
    entries.reserve(pools.size());
    for (const PoolPointer& pool : pools)
        entries.push_back({pool, LatencyScore(*pool, ping)});
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.score < b.score; });
    std::transform(entries.begin(), entries.end(), pools.begin(), [](const auto& entry) { return entry.pool; });
    return pools;
}

namespace {

constexpr std::uint32_t kConnectErrorsBeforeChange = 4;
constexpr std::uint32_t kDisconnectsBeforeChange = 4;
constexpr TimeSpan kDisconnectMemory = 2 * kTicksPerMinute;

constexpr TimeSpan kPauseAfterFailedConnect = 2 * kTicksPerSecond;
// By the number of connections in a row that did not last.
constexpr TimeSpan kPauses[] = {0,
                                1 * kTicksPerSecond,
                                2 * kTicksPerSecond,
                                3 * kTicksPerSecond,
                                5 * kTicksPerSecond,
                                10 * kTicksPerSecond,
                                20 * kTicksPerSecond,
                                30 * kTicksPerSecond};
// A pool that has settled will be back, so it is asked more often than one that may never work.
constexpr TimeSpan kLongestPauseOfSettled = 15 * kTicksPerSecond;
// Where another pool waits for its turn, too.
constexpr TimeSpan kLongestPauseAmongPools = 5 * kTicksPerSecond;
// A connection that gave work for so long has lasted.
constexpr TimeSpan kLasting = 10 * kTicksPerSecond;
// What fails slowly (a server that swallows everything) must not hold the other pools up: the turn ends with the first
// failure after this time, sooner once every pool has had its turn in this outage.
constexpr TimeSpan kFirstTurn = 40 * kTicksPerSecond;
constexpr TimeSpan kLaterTurn = 15 * kTicksPerSecond;
constexpr TimeSpan kWaitForChange = 10 * kTicksPerSecond;

constexpr std::uint32_t kRoundsBeforeGivingUp = 2;
constexpr TimeSpan kTimeBeforeGivingUp = kTicksPerMinute;
// Of a pool that has settled: every so many losses another mode is tried, in case it speaks another one now. With pools that
// answer nothing to the wrong one, all have had their turn within two minutes.
constexpr std::uint32_t kLossesPerOtherMode = 2;

}  // namespace

void CPoolAccess::SetPools(const std::vector<ProtocolMode>& firstModes, TimeSpan now) {
    *this = {};
    m_turnSince = now;
    m_pools.assign(std::max<std::size_t>(firstModes.size(), 1), {});
    for (std::size_t i = 0; i < firstModes.size(); ++i)
        m_pools[i].first = m_pools[i].next = firstModes[i];
    ChooseMode();
}

void CPoolAccess::TakePool(std::size_t index, TimeSpan now) {
    if (index >= m_pools.size()) index = 0;
    if (index != m_index) m_turnSince = now;
    m_index = index;
    m_changing = 0;
    m_connectErrors = 0;
    m_loggedIn = m_hadJob = false;
    ChooseMode();
}

void CPoolAccess::ChooseMode() {
    const Pool& pool = Current();
    m_mode = pool.settled != ProtocolMode::None ? pool.settled : pool.next;
}

void CPoolAccess::Connected(TimeSpan now) {
    m_connectErrors = 0;
    m_connected = now;
    m_loggedIn = m_hadJob = false;
    if (m_everConnected && now - m_lastConnect <= kDisconnectMemory) return;
    m_everConnected = true;
    m_lastConnect = now;
    m_disconnects = 0;
}

void CPoolAccess::LoggedIn() {
    m_loggedIn = true;
    Current().settled = m_mode;
}

void CPoolAccess::JobCame(TimeSpan now) {
    if (!m_hadJob) m_jobTime = now;
    m_hadJob = true;
    m_outage = false;
    m_failures = 0;
    m_turns = 0;
}

void CPoolAccess::WasWorthless() {
    m_hadJob = false;
    m_turnSince = std::min(m_turnSince, m_connected - kFirstTurn);
}

void CPoolAccess::BeginOutage(TimeSpan now) {
    ++m_failures;
    if (m_outage) return;
    m_outage = true;
    m_turnSince = m_hadJob ? now : m_turnSince;
}

CPoolAccess::Verdict CPoolAccess::ConnectFailed(TimeSpan now) {
    m_hadJob = false;
    BeginOutage(now);
    Current().nextAttempt = now + kPauseAfterFailedConnect;
    if (m_pools.size() < 2) return {};
    // Only the fourth: the count goes on until a connection or another pool clears it.
    if (++m_connectErrors == kConnectErrorsBeforeChange || IsTurnOver(now)) return Change(now);
    return {};
}

CPoolAccess::Verdict CPoolAccess::ConnectionLost(TimeSpan now) {
    Pool& pool = Current();
    BeginOutage(now);
    if (pool.losses == 0 && !m_loggedIn && pool.rounds == 0) pool.firstLoss = now;
    if (m_hadJob && now - m_jobTime >= kLasting) pool.losses = 0;
    ++pool.losses;
    const bool hasSettled = pool.settled != ProtocolMode::None;
    const bool isRoundOver = !m_loggedIn && ModeFailed();
    // Trying the modes for the first time is quick; a connection that gave work is taken up again at once.
    const bool isDiscovery = !hasSettled && pool.rounds == 0;
    pool.nextAttempt = isDiscovery ? now : now + PauseAfter(m_hadJob ? pool.losses - 1 : pool.losses);
    m_hadJob = false;
    if (m_pools.size() < 2 && !m_loggedIn) {
        const bool isHopeless = isRoundOver && !hasSettled && pool.rounds >= kRoundsBeforeGivingUp;
        return {.changePool = false, .giveUp = isHopeless && now - pool.firstLoss >= kTimeBeforeGivingUp};
    }
    m_loggedIn = false;
    if (m_pools.size() > 1) ++m_connectErrors;
    if (++m_disconnects < kDisconnectsBeforeChange && !(m_pools.size() > 1 && IsTurnOver(now))) return {};
    return Change(now);
}

CPoolAccess::Verdict CPoolAccess::Change(TimeSpan now) {
    if (m_changing != 0) return {};  // asked for already
    m_disconnects = 0;
    ++m_turns;
    if (m_pools.size() > 1) m_changing = now + kWaitForChange;
    return {.changePool = true};
}

bool CPoolAccess::IsTurnOver(TimeSpan now) const {
    return now - m_turnSince >= (m_turns >= m_pools.size() ? kLaterTurn : kFirstTurn);
}

// True: that was the last one, the first has its turn again.
bool CPoolAccess::NextOf(Pool& pool) {
    const ProtocolMode next = DialectOf(pool.next).next;
    const bool isOver = next == ProtocolMode::None;
    pool.next = isOver ? pool.first : next;
    return isOver;
}

// True: every mode of the round has failed.
bool CPoolAccess::ModeFailed() {
    Pool& pool = Current();
    if (pool.settled != ProtocolMode::None) {
        if (pool.losses % kLossesPerOtherMode == 0) {
            NextOf(pool);
            if (pool.next == pool.settled) NextOf(pool);
            m_mode = pool.next;
        } else {
            m_mode = pool.settled;
        }
        return false;
    }
    const bool isRoundOver = NextOf(pool);
    if (isRoundOver) ++pool.rounds;
    m_mode = pool.next;
    return isRoundOver;
}

TimeSpan CPoolAccess::PauseAfter(std::uint32_t losses) const {
    const TimeSpan pause = kPauses[std::min<std::size_t>(losses, std::size(kPauses) - 1)];
    if (m_pools.size() > 1) return std::min(pause, kLongestPauseAmongPools);
    return m_pools[m_index].settled != ProtocolMode::None ? std::min(pause, kLongestPauseOfSettled) : pause;
}

TimeSpan CPoolAccess::NextAttempt() const {
    return std::max(m_pools[m_index].nextAttempt, m_changing);
}
