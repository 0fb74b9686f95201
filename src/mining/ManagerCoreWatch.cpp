// How the core watches over its sessions: what they do, what is trouble, and the way back to the primary pool.
#include "common/CodePage.h"
#include "config/GpuCounters.h"
#include "mining/FeeSchedule.h"
#include "mining/ManagerCore.h"

namespace {

constexpr TimeSpan kBetweenProbes = 10 * kTicksPerMinute;
// A probe that has brought no job by then is given up until the next.
constexpr TimeSpan kProbeTime = 2 * kTicksPerMinute;

}  // namespace

SessionState CManagerCore::State() const {
    if (HasFailed()) {
        SessionState state;
        state.reason = m_failure.text;
        state.code = m_failure.code;
        return state;
    }
    SessionFacts facts;
    facts.connection = User().Status();
    for (const PoolPointer& pool : m_pools)
        facts.poolNames.emplace_back(pool->Name);
    if (m_mode == Mode::Fee) {
        const std::uint64_t owed = FeeOwed(static_cast<std::uint64_t>(m_user.minedTime));
        const TimeSpan sinceTick = m_parts.clock.Monotonic() - m_fee.lastTick;
        facts.developerTime = true;
        facts.developerLeft = static_cast<TimeSpan>(owed) - m_fee.minedTime - sinceTick;
    }
    return DecideSessionState(facts, m_parts.clock.Monotonic());
}

GpuActivity CManagerCore::ActivityOf(const QvGpuRecord& gpu) const {
    const auto message = m_parts.plugInMessages.Latest(gpu.cudaId);
    return DecideGpuActivity(ReadGpuCounters(gpu).hashSpeed, message ? &*message : nullptr, m_parts.clock.Monotonic());
}

void CManagerCore::OnWatchTimer() {
    for (const CTroubleWatch::Change& change : m_watch.Look(Concerns(), m_parts.clock))
        Tell(change);
    if (HasFailed()) return;
    TellWork();
    SeekPrimary();
}

std::vector<Concern> CManagerCore::Concerns() const {
    std::vector<Concern> concerns;
    const SessionState state = State();
    if (const auto concern = ConcernOf(state)) concerns.push_back(*concern);
    if (state.phase != SessionPhase::Mining) return concerns;
    for (const QvGpuRecord* gpu : m_gpus) {
        if (const auto concern = ConcernOf(gpu->cudaId, ActivityOf(*gpu))) concerns.push_back(*concern);
    }
    return concerns;
}

void CManagerCore::Tell(const CTroubleWatch::Change& change) {
    const PoolPointer current = User().CurrentPool();
    const PoolEntry& pool = current ? *current : Pool();
    std::wstring text = NarrowToWide(change.error.text);
    if (change.began) {
        m_parts.troubles.Add(change.error);
        pool.lastError.Set(change.error);
        m_parts.host.PoolErrorHappened(change.error);
    } else {
        m_parts.troubles.Remove(change.error);
        for (const PoolPointer& known : m_pools) {
            const PoolError last = known->lastError.Get();
            if (last.code == change.error.code && last.time == change.error.time) known->lastError.Set({});
        }
        m_parts.host.PoolErrorHappened(OverError(change.error, m_parts.clock.UtcNow()));
        text = L"over after " + SpanText(change.lasted) + L": " + text;
    }
    m_parts.shell.LogLine(text);
    const bool isGpu = change.error.gpuIndex >= 0;
    m_parts.events.Event(isGpu ? EventKind::Gpu : EventKind::Pool,
                         isGpu ? L"GPU " + std::to_wstring(change.error.gpuIndex) : std::wstring(Pool().Name), text);
}

// Where it mines, once that has lasted for a while.
void CManagerCore::TellWork() {
    const SessionState state = State();
    if (state.phase == SessionPhase::DeveloperTime) return;
    const bool isMining = state.phase == SessionPhase::Mining;
    const PoolPointer pool = User().CurrentPool();
    const std::wstring work = isMining && pool ? pool->Name + (L": " + SessionStateText(state)) : std::wstring();
    const TimeSpan now = m_parts.clock.Monotonic();
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
    m_parts.events.Event(EventKind::Pool, pool->Name, text);
}

// While the backup pool is mined on, the primary one is tried by a connection of its own: only one that gives work is worth
// leaving the backup for.
void CManagerCore::SeekPrimary() {
    const TimeSpan now = m_parts.clock.Monotonic();
    if (m_mode == Mode::Fee || User().PoolIndex() == 0) {
        m_probe.reset();
        m_probeDue = 0;
        return;
    }
    if (m_probeDue == 0) m_probeDue = now + kBetweenProbes;
    if (m_probe == nullptr) {
        if (now < m_probeDue) return;
        m_probe = m_parts.shell.MakeProbe(m_pools[0]);
        m_parts.shell.LogLine(L"Trying the primary pool");
        m_probe->Connect();
        return;
    }
    if (m_probe->Session().Status().phase == ConnectionPhase::Working) {
        LeaveForPrimary();
    } else if (now - m_probeDue >= kProbeTime) {
        m_parts.shell.LogLine(L"The primary pool gives no work yet");
        m_probe.reset();
        m_probeDue = now + kBetweenProbes - kProbeTime;
    }
}

void CManagerCore::LeaveForPrimary() {
    m_parts.events.Event(EventKind::Pool, Pool().Name, L"gives work again: back to the primary pool");
    m_probe.reset();
    m_probeDue = 0;
    m_user.connection.Session().SetPoolIndex(0);
    SwitchPool(m_user.connection);
    m_poolChanges = 0;
}
