#include "mining/ManagerCore.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "common/CodePage.h"
#include "common/SharedWord.h"
#include "config/GpuCounters.h"
#include "config/PoolTarget.h"
#include "mining/FeeSchedule.h"
#include "mining/HashRateReport.h"

CManagerCore::CManagerCore(const Parts& parts, const ConfigurationEntry& configuration)
    : m_parts(parts),
      m_gpus(configuration.gpus),
      m_pools{configuration.primaryPool, configuration.secondaryPool},
      m_user{.connection = parts.user},
      m_fee{.connection = parts.fee} {}

void CManagerCore::Begin() {
    LogConnect(Pool());
}

void CManagerCore::Start(std::vector<PoolPointer> feePools) {
    m_feePeriodTarget = FeePeriodTarget(Pool().Algo);
    m_feePools = std::move(feePools);
    m_fee.connection.Session().SetPools(m_feePools);
    m_user.connection.Session().SetPools(ConnectablePools());
    m_user.connection.Connect();
    Activate(m_user);
}

void CManagerCore::Fail(const std::wstring& line, std::wstring reason) {
    m_failure = {TroubleCode::PlugInMissing, -1, std::move(reason), true};
    m_parts.shell.LogLine(line);
    m_parts.shell.LogMain(line);
    OnWatchTimer();
}

void CManagerCore::AccountTimes() {
    AccountTime(m_user);
    AccountTime(m_fee);
}

void CManagerCore::Stop() {
    m_probe.reset();
    m_user.connection.CloseConnection();
    m_fee.connection.CloseConnection();
    for (const CTroubleWatch::Change& change : m_watch.End(m_parts.clock))
        Tell(change);
    LogTotals();
}

void CManagerCore::OnAccountingTimer() {
    if (HasFailed()) return;
    AccountTimes();
    Revive(m_user);
    StepFeeSchedule();
}

void CManagerCore::OnSubmitTimer() {
    if (HasFailed()) return;
    const CStratumSession& session = User();
    const std::uint64_t total = SumGpuCounters(m_gpus).hashSpeed;
    const std::string clientId = WideToNarrow(session.HashRateId());
    if (total == 0 || !session.IsReady() || clientId.empty()) return;
    m_user.connection.SendRequest(HashRateRequest(total, clientId, session.PrefixFlag()));
}

void CManagerCore::SwitchPool(IPoolConnection& connection) {
    if (HasFailed()) return;
    if (&connection == &m_fee.connection && !m_feeWanted) return;  // asked for before its period ended
    connection.CloseConnection();
    connection.Session().Reset();
    const PoolPointer pool = connection.Session().CurrentPool();
    if (&connection == &m_user.connection && pool) {
        LogConnect(*pool);
        // The first change of an outage is told, the number of them when it is over.
        if (m_pools.size() > 1 && m_poolChanges++ == 0)
            m_parts.events.Event(EventKind::Pool, pool->Name, L"this pool's turn now");
    }
    connection.Connect();
}

std::vector<PoolPointer> CManagerCore::ConnectablePools() const {
    // Without a backup pool the second entry is the unassigned pool: failing over to it would mine nowhere.
    std::vector<PoolPointer> pools;
    std::copy_if(m_pools.begin(), m_pools.end(), std::back_inserter(pools),
                 [](const PoolPointer& pool) { return pool->Server[0] != L'\0'; });
    if (pools.empty()) pools.push_back(m_pools[0]);
    return pools;
}

// ---- Time ----------------------------------------------------------------------------------------------------------------

// On the clock that stands still while the PC sleeps and does not jump with the system's time: nothing but mining counts.
void CManagerCore::AccountTime(Source& source) {
    if (source.connection.Session().IsPaused()) return;
    const TimeSpan now = m_parts.clock.Monotonic();
    const TimeSpan elapsed = now - std::exchange(source.lastTick, now);
    source.minedTime += elapsed;
    source.activeTime += elapsed;
    source.total += elapsed;
}

void CManagerCore::Activate(Source& source) {
    source.activeTime = 0;
    source.lastTick = m_parts.clock.Monotonic();
    source.connection.Session().Activate();
}

// ---- Connections
// -----------------------------------------------------------------------------------------------------------

void CManagerCore::Revive(const Source& source) {
    if (source.connection.IsRunning()) return;
    m_parts.shell.LogLine(L"The connection had ended; connecting again");
    source.connection.Connect();
}

void CManagerCore::ReturnToFirstPool(const Source& source) {
    CStratumSession& session = source.connection.Session();
    if (session.PoolIndex() == 0) return;
    session.SetPoolIndex(0);
    m_parts.shell.PostPoolSwitch(source.connection);
}

void CManagerCore::LogConnect(const PoolEntry& pool) {
    m_parts.shell.LogLine(std::wstring(L"*** Miner connect to ") + pool.Name + L" - " + PoolAddressText(pool));
}

// ---- The developer fee
// -----------------------------------------------------------------------------------------------------

PoolRole CManagerCore::CurrentRole() const {
    if (m_mode == Mode::Fee) return Fee().PoolIndex() == 0 ? PoolRole::Fee : PoolRole::FeeBackup;
    return User().PoolIndex() == 0 ? PoolRole::Primary : PoolRole::Backup;
}

void CManagerCore::StepFeeSchedule() {
    const FeeTimes times = {static_cast<std::uint64_t>(m_user.minedTime), static_cast<std::uint64_t>(m_user.activeTime),
                            static_cast<std::uint64_t>(m_fee.minedTime)};
    if (m_mode == Mode::Fee) {
        const FeeDecision decision = DecideDuringFee(times);
        if (decision.changeSource) {
            EndFeePeriod(decision.owed);
        } else {
            Revive(m_fee);
        }
        return;
    }
    const FeeDecision decision = DecideDuringUser(times, m_feePeriodTarget);
    if (decision.orderPools) m_parts.shell.OrderFeePools(m_feePools);
    if (decision.connectFee) ConnectFee();
    if (decision.changeSource) BeginFeePeriod(decision.owed);
}

void CManagerCore::ConnectFee() {
    m_feeWanted = true;
    ReturnToFirstPool(m_fee);
    if (m_fee.connection.IsRunning()) return;
    if (auto ordered = m_parts.shell.TakeFeePoolOrder()) m_fee.connection.Session().SetPools(std::move(*ordered));
    m_fee.connection.Connect();
}

void CManagerCore::BeginFeePeriod(std::uint64_t owed) {
    AccountTime(m_user);
    m_user.connection.Session().Pause();
    const std::wstring span = SpanText(static_cast<TimeSpan>(owed));
    m_parts.shell.LogLine(L"Developer fee: begins, " + span + L" owed for " + SpanText(m_user.minedTime) + L" mined");
    m_parts.events.Event(EventKind::Fee, Pool().Name, L"developer's time begins: " + span);
    Activate(m_fee);
    m_mode = Mode::Fee;
}

void CManagerCore::EndFeePeriod(std::uint64_t owed) {
    AccountTime(m_fee);
    m_fee.connection.Session().Pause();
    const std::wstring span = SpanText(m_fee.minedTime);
    m_parts.shell.LogLine(L"Developer fee: ends, " + span + L" mined of " + SpanText(static_cast<TimeSpan>(owed)) +
                          L" owed");
    m_parts.events.Event(EventKind::Fee, Pool().Name, L"developer's time ends after " + span);
    ReturnToFirstPool(m_user);
    Activate(m_user);
    m_mode = Mode::User;
    m_feeWanted = false;
    m_fee.connection.CloseConnection();
    m_user.minedTime = 0;
    m_fee.minedTime = 0;
}

void CManagerCore::LogTotals() {
    if (HasFailed()) return;
    const AnswerCounts fee = Fee().Answers();
    const std::wstring counts =
        L" (shares A:" + std::to_wstring(fee.accepted) + L" R:" + std::to_wstring(fee.rejected) + L")";
    const std::wstring text = L"Mined " + SpanText(m_user.total) + L" for " + Pool().Name + L" and " +
                              SpanText(m_fee.total) + L" for the developer" + counts;
    m_parts.shell.LogLine(text);
    m_parts.shell.LogMain(text);
}

namespace {

void Clear(QvHistory& history) {
    for (std::uint64_t& value : history.values)
        WriteShared(value, 0);
    for (std::uint64_t& word : history.bookkeeping)
        WriteShared(word, 0);
}

}  // namespace

void ClearStatistics(CMiningStatistics& statistics) {
    for (std::uint64_t* word : {&statistics.reserved0, &statistics.accepted, &statistics.rejected, &statistics.stale,
                                &statistics.solSpeed, &statistics.hashSpeed}) {
        WriteShared(*word, 0);
    }
    WriteShared(statistics.lastTime, 0);
    WriteShared(statistics.paused, 0);
    Clear(statistics.hashHistory);
    Clear(statistics.solHistory);
}
