// How the manager watches over its sessions: what they do, what is trouble, and the way back to the primary pool.
#include <algorithm>

#include "common/CodePage.h"
#include "config/GpuCounters.h"
#include "mining/FeeSchedule.h"
#include "mining/MiningManager.h"

namespace {

constexpr TimeSpan kBetweenProbes = 10 * kTicksPerMinute;
// A probe that has brought no job by then is given up until the next.
constexpr TimeSpan kProbeTime = 2 * kTicksPerMinute;

}  // namespace

SessionState CMiningManager::State() const {
    if (HasFailed()) {
        SessionState state;
        state.reason = m_failure.text;
        state.code = m_failure.code;
        return state;
    }
    SessionFacts facts;
    facts.connection = m_userSession.Status();
    for (const PoolPointer& pool : m_pools)
        facts.poolNames.emplace_back(pool->Name);
    if (m_mode == Mode::Fee) {
        const std::uint64_t owed = FeeOwed(static_cast<std::uint64_t>(m_userSession.minedTime));
        const TimeSpan sinceTick = m_context.clock.Monotonic() - m_feeSession.lastTick;
        facts.developerTime = true;
        facts.developerLeft = static_cast<TimeSpan>(owed) - m_feeSession.minedTime - sinceTick;
    }
    return DecideSessionState(facts, m_context.clock.Monotonic());
}

GpuActivity CMiningManager::ActivityOf(const QvGpuRecord& gpu) const {
    const auto message = m_context.plugInMessages.Latest(gpu.cudaId);
    return DecideGpuActivity(ReadGpuCounters(gpu).hashSpeed, message ? &*message : nullptr, m_context.clock.Monotonic());
}

void CMiningManager::Watch() {
    for (const CTroubleWatch::Change& change : m_watch.Look(Concerns(), m_context.clock))
        Tell(change);
    if (HasFailed()) return;
    TellWork();
    SeekPrimary();
}

std::vector<Concern> CMiningManager::Concerns() const {
    std::vector<Concern> concerns;
    const SessionState state = State();
    if (const auto concern = ConcernOf(state)) concerns.push_back(*concern);
    if (state.phase != SessionPhase::Mining) return concerns;
    for (const QvGpuRecord* gpu : m_gpus) {
        if (const auto concern = ConcernOf(gpu->cudaId, ActivityOf(*gpu))) concerns.push_back(*concern);
    }
    return concerns;
}

void CMiningManager::Tell(const CTroubleWatch::Change& change) {
    const PoolPointer current = m_userSession.CurrentPool();
    const PoolEntry& pool = current ? *current : *m_pools[0];
    std::wstring text = NarrowToWide(change.error.text);
    if (change.began) {
        m_context.troubles.Add(change.error);
        pool.lastError.Set(change.error);
        m_context.stratumHost.PoolErrorHappened(change.error);
    } else {
        m_context.troubles.Remove(change.error);
        for (const PoolPointer& known : m_pools) {
            const PoolError last = known->lastError.Get();
            if (last.code == change.error.code && last.time == change.error.time) known->lastError.Set({});
        }
        m_context.stratumHost.PoolErrorHappened(OverError(change.error, m_context.clock.UtcNow()));
        text = L"over after " + SpanText(change.lasted) + L": " + text;
    }
    m_log.LogLine(L"%s", text.c_str());
    const bool isGpu = change.error.gpuIndex >= 0;
    m_context.events.Event(isGpu ? EventKind::Gpu : EventKind::Pool,
                           isGpu ? L"GPU " + std::to_wstring(change.error.gpuIndex) : std::wstring(m_pools[0]->Name), text);
}

// Where it mines, once that has lasted for a while.
void CMiningManager::TellWork() {
    const SessionState state = State();
    if (state.phase == SessionPhase::DeveloperTime) return;
    const bool isMining = state.phase == SessionPhase::Mining;
    const PoolPointer pool = m_userSession.CurrentPool();
    const std::wstring work = isMining && pool ? pool->Name + (L": " + SessionStateText(state)) : std::wstring();
    const TimeSpan now = m_context.clock.Monotonic();
    if (work != m_presentWork) {
        m_presentWork = work;
        m_presentSince = now;
    }
    if (work == m_toldWork || now - m_presentSince < CTroubleWatch::kPatience) return;
    m_toldWork = work;
    if (!isMining) return;  // that is told as trouble
    std::wstring text = SessionStateText(state);
    if (m_poolChanges > 1) text += L" after " + std::to_wstring(m_poolChanges) + L" changes of the pool";
    m_poolChanges = 0;
    m_context.events.Event(EventKind::Pool, pool->Name, text);
}

// While the backup pool is mined on, the primary one is tried by a connection of its own: only one that gives work is worth
// leaving the backup for.
void CMiningManager::SeekPrimary() {
    const TimeSpan now = m_context.clock.Monotonic();
    if (m_mode == Mode::Fee || m_userSession.CurrentPoolIndex() == 0) {
        m_probe.reset();
        m_probeDue = 0;
        return;
    }
    if (m_probeDue == 0) m_probeDue = now + kBetweenProbes;
    if (m_probe == nullptr) {
        if (now < m_probeDue) return;
        m_probe = std::make_unique<CMiningStratum>(StratumKind::Probe, m_context.stratumHost, m_context.clock);
        m_probe->SetPoolList({m_pools[0]});
        m_probe->SetLog(&m_log);
        m_log.LogLine(L"Trying the primary pool");
        m_probe->Connect();
        return;
    }
    if (m_probe->Status().phase == ConnectionPhase::Working) {
        LeaveForPrimary();
    } else if (now - m_probeDue >= kProbeTime) {
        m_log.LogLine(L"The primary pool gives no work yet");
        m_probe.reset();
        m_probeDue = now + kBetweenProbes - kProbeTime;
    }
}

void CMiningManager::LeaveForPrimary() {
    m_context.events.Event(EventKind::Pool, m_pools[0]->Name, L"gives work again: back to the primary pool");
    m_probe.reset();
    m_probeDue = 0;
    m_userSession.SetCurrentPoolIndex(0);
    SwitchPool(m_userSession);
    m_poolChanges = 0;
}
