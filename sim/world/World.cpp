#include "world/World.h"
#include <algorithm>
#include <cstdio>
#include <functional>
#include "common/CodePage.h"

namespace {

constexpr TimeSpan kLook = kTicksPerSecond;
constexpr TimeSpan kQuietLook = 10 * kTicksPerSecond;
// After what has stopped mining by itself somebody comes.
constexpr TimeSpan kPersonComes = 5 * kTicksPerMinute;
// What lasted so shortly ago still delays.
constexpr TimeSpan kAftermath = 2 * kTicksPerMinute;

// Pools of the last two never speak eth-proxy.
constexpr std::int32_t kAlgorithms[] = {3, 4, 7, 8};

}  // namespace

RunResult RunWorld(const RunPlan& plan) {
    return CWorld(plan).Run();
}

CWorld::CWorld(const RunPlan& plan)
    : m_plan(plan),
      m_network(m_kernel, m_conditions, plan.seed),
      m_random(plan.seed, "rig"),
      m_algorithm(kAlgorithms[m_random.Below(std::size(kAlgorithms))]),
      m_owner(m_kernel.NewOwner()) {
    std::array<CSimPool*, kPools> pools = {};
    for (int i = 0; i < kPools; ++i) {
        auto& pool = m_pools[static_cast<std::size_t>(i)];
        pool = std::make_unique<CSimPool>(m_kernel, m_network, m_conditions, m_promises, plan.seed, i, m_algorithm < 7);
        pools[static_cast<std::size_t>(i)] = pool.get();
    }
    m_network.SetPools(pools);
    m_lastOf.fill(-kTicksPerDay);
    MakeRig();
    for (const Fault& fault : plan.faults)
        SetUpFault(fault);
    m_kernel.After(kTicksPerSecond, m_owner, [this] { StartMining(); });
    m_kernel.After(kLook, m_owner, [this] { LookAround(); });
    m_kernel.After(kTicksPerMinute, m_owner, [this] { CountMinute(); });
}

CWorld::~CWorld() {
    m_manager.reset();
}

RunResult CWorld::Run() {
    while (!m_promises.Failed() && m_kernel.Step(m_plan.length)) {
    }
    return {.failure = m_promises.Failed(),
            .steps = m_kernel.Steps(),
            .shares = m_promises.Shares(),
            .mined = m_promises.MinedTime(),
            .longestWait = m_promises.LongestWait(),
            .minutes = std::move(m_minutes)};
}

// ---- The rig ---------------------------------------------------------------------------------------------------------

std::shared_ptr<PoolEntry> CWorld::MakePool(int number) const {
    auto pool = std::make_shared<PoolEntry>();
    pool->ID = static_cast<std::uint32_t>(number);
    pool->Port = 4444;
    CopyToField(L"Pool " + std::to_wstring(number), pool->Name);
    CopyToField(CNetwork::HostOf(number), pool->Server);
    CopyToField(L"0xwallet", pool->WalletUser);
    return pool;
}

std::vector<PoolPointer> CWorld::FeePools() const {
    std::vector<PoolPointer> pools;
    for (int i = kUserPools; i < kPools; ++i) {
        auto pool = MakePool(i);
        pool->Algo = m_configuration.primaryPool->Algo;
        pools.push_back(std::move(pool));
    }
    return pools;
}

void CWorld::MakeRig() {
    const auto primary = MakePool(0);
    primary->Algo = m_algorithm;
    const auto backup = m_random.Chance(0.7) ? MakePool(1) : std::make_shared<PoolEntry>();
    backup->Algo = primary->Algo;
    m_configuration.primaryPool = primary;
    m_configuration.secondaryPool = backup;
    const std::uint64_t cards = 1 + m_random.Below(kMostCards);
    for (std::size_t i = 0; i < cards; ++i) {
        m_gpus[i].cudaId = static_cast<std::int32_t>(i);
        m_gpus[i].assignedPool = primary.get();
        m_configuration.gpus.push_back(&m_gpus[i]);
    }
}

CMiningStatistics* CWorld::FindStatistics(std::int32_t cudaId) {
    const bool isOurs = cudaId >= 0 && static_cast<std::size_t>(cudaId) < m_configuration.gpus.size();
    return isOurs ? &m_gpus[static_cast<std::size_t>(cudaId)].statistics : nullptr;
}

void CWorld::PoolErrorHappened(const PoolError& error) {
    if (m_plan.tells) Tell(std::string("pool error: ") + error.text);
}

// The main window stops mining when it gets to it.
void CWorld::RequestStopMining(const std::string& reason) {
    m_kernel.After(kTicksPerMillisecond, m_owner, [this, reason] {
        if (!m_manager) return;
        Tell("stops by itself: " + reason);
        StopMining();
        m_isWanted = m_hasStopped = true;
        m_kernel.After(kPersonComes, m_owner, [this, starts = m_starts] {
            if (starts == m_starts && m_isWanted) StartMining();
        });
    });
}

void CWorld::Event(EventKind kind, std::wstring_view subject, std::wstring_view text) {
    if (m_plan.tells) Tell(WideToNarrow(EventText(kind, subject, text)));
}

void CWorld::Tell(const std::string& text) const {
    if (!m_plan.tells) return;
    const auto seconds = m_kernel.Now() / kTicksPerSecond;
    std::printf("%9lld.%03lld  %s\n", static_cast<long long>(seconds),
                static_cast<long long>(m_kernel.Now() / kTicksPerMillisecond % 1000), text.c_str());
}

// ---- The person ------------------------------------------------------------------------------------------------------

void CWorld::StartMining() {
    if (m_manager) return;
    Tell("mining is started");
    m_hasStopped = false;
    m_minedAt = {};
    ++m_starts;
    m_messages.Clear();
    m_manager = std::make_unique<CSimManager>(m_connections,
                                              ManagerRig{.host = *this,
                                                         .events = *this,
                                                         .troubles = m_troubles,
                                                         .messages = m_messages,
                                                         .feePools = FeePools(),
                                                         .seed = m_plan.seed,
                                                         .shareNumber = m_shareNumber,
                                                         .logLines = m_logLines},
                                              m_configuration);
    m_manager->Start();
}

void CWorld::StopMining() {
    if (!m_manager) return;
    Tell("mining is stopped");
    m_manager->Stop();
    if (!m_troubles.Lasting().empty()) m_promises.Broken("bounded", "trouble stands after mining has stopped");
    m_manager.reset();
}

// The process is no more.
void CWorld::Die() {
    Tell("the process dies");
    m_manager.reset();
    m_promises.Died();
    for (const PoolError& error : m_troubles.Lasting())
        m_troubles.Remove(error);
}

// ---- Looking ---------------------------------------------------------------------------------------------------------

bool CWorld::CanMine() const {
    using enum FaultKind;
    if (!m_manager) return false;
    for (const FaultKind kind : {Outage, NoNames, NoThread}) {
        if (m_conditions.Is(kind)) return false;
    }
    const auto works = [this](const QvGpuRecord* gpu) { return m_manager->PlugIn().IsWorking(gpu->cudaId); };
    if (!std::ranges::any_of(m_configuration.gpus, works)) return false;
    return IsInOrder(*m_configuration.primaryPool) || IsInOrder(*m_configuration.secondaryPool);
}

bool CWorld::IsInOrder(const PoolEntry& pool) const {
    using enum FaultKind;
    if (pool.IsUnassigned()) return false;
    static constexpr FaultKind kBad[] = {BlackHole,    Refuse,      AcceptClose, Untrusted, Maintenance,
                                         LoginRefused, LoginSilent, NoJob,       NoAnswers, Silent};
    const auto isOn = [&](FaultKind kind) { return m_conditions.Is(kind, static_cast<int>(pool.ID)); };
    return std::ranges::none_of(kBad, isOn);
}

// A pool in order has been mined at in this run, so that its protocol need not be found out any more.
bool CWorld::IsKnown() const {
    const auto isKnown = [this](const PoolEntry& pool) { return IsInOrder(pool) && m_minedAt[pool.ID]; };
    return isKnown(*m_configuration.primaryPool) || isKnown(*m_configuration.secondaryPool);
}

bool CWorld::IsMining() const {
    if (!m_manager || m_manager->Core().CurrentMode() != CManagerCore::Mode::User) return false;
    const CWire* const wire = m_manager->User().AliveWire();
    if (wire == nullptr || !wire->hasLoggedIn || m_conditions.Is(FaultKind::Outage)) return false;
    if (m_conditions.Is(FaultKind::Silent, wire->pool->Number())) return false;
    return CSimPool::PoolOfJob(m_manager->PlugIn().HashedJob()) == wire->pool->Number();
}

std::int64_t CWorld::Allowance() const {
    std::int64_t most = 0;
    for (std::size_t kind = 0; kind < kFaultKinds; ++kind) {
        // That a pool speaks another mode may be met long afterwards, when its turn comes.
        const bool isMode = static_cast<FaultKind>(kind) == FaultKind::ModeChange;
        if (m_kernel.Now() - m_lastOf[kind] <= (isMode ? kTicksPerDay : kAftermath))
            most = std::max<std::int64_t>(most, TraitsOf(static_cast<FaultKind>(kind)).allowance);
    }
    return most;
}

Situation CWorld::Look() const {
    Situation now;
    now.wantsMining = m_isWanted && m_manager != nullptr;
    now.hasStopped = m_hasStopped;
    now.troubles = m_troubles.Lasting().size();
    now.logLines = m_logLines;
    now.allowance = Allowance();
    now.isBusy = m_conditions.Is(FaultKind::BusyWindow);
    now.everMined = std::ranges::any_of(m_minedAt, std::identity());
    if (!m_manager) return now;
    const CManagerCore& core = m_manager->Core();
    now.developerTime = core.CurrentMode() == CManagerCore::Mode::Fee;
    now.isMining = IsMining();
    now.isKnown = IsKnown();
    if (now.isMining && !m_plan.tells) return now;
    const SessionState state = core.State();
    now.canMine = CanMine();
    now.believesMining = state.phase == SessionPhase::Mining && !m_manager->PlugIn().HashedJob().empty();
    now.state = WideToNarrow(SessionStateText(state));
    now.hasReason = !core.Troubles().empty() || ConcernOf(state);
    return now;
}

void CWorld::LookAround() {
    for (std::size_t kind = 0; kind < kFaultKinds; ++kind) {
        for (int target = 0; target < kPools; ++target) {
            if (m_conditions.Is(static_cast<FaultKind>(kind), target)) m_lastOf[kind] = m_kernel.Now();
        }
    }
    const Situation now = Look();
    if (now.isMining) m_minedAt[static_cast<std::size_t>(m_manager->User().AliveWire()->pool->Number())] = true;
    if (now.state != m_toldState) Tell(m_toldState = now.state);
    m_promises.Look(now);
    m_kernel.After(m_promises.IsQuiet() ? kQuietLook : kLook, m_owner, [this] { LookAround(); });
}

void CWorld::CountMinute() {
    std::array<std::uint64_t, kPools> attempts = {};
    for (std::size_t i = 0; i < kPools; ++i)
        attempts[i] = m_pools[i]->attempts;
    m_promises.Attempts(attempts);
    if (m_plan.wantsMinutes) {
        const Situation now = Look();
        m_minutes.push_back(!m_manager          ? MinuteState::Off
                            : now.developerTime ? MinuteState::Developer
                            : now.isMining      ? MinuteState::Mining
                            : now.canMine       ? MinuteState::NoWork
                                                : MinuteState::Trouble);
    }
    m_kernel.After(kTicksPerMinute, m_owner, [this] { CountMinute(); });
}
