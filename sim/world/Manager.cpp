#include "world/Manager.h"
#include <algorithm>

namespace {

constexpr TimeSpan kMoment = kTicksPerMillisecond;
constexpr TimeSpan kWatch = kTicksPerSecond;
// While nothing changes the watch finds nothing new: the world lets most of its looks out, which is where the speed is from.
constexpr TimeSpan kQuietWatch = 10 * kTicksPerSecond;
constexpr TimeSpan kAccounting = 30 * kTicksPerSecond;
constexpr TimeSpan kSubmit = 90 * kTicksPerSecond;

}  // namespace

CSimManager::CSimManager(const ConnectionWorld& world, const ManagerRig& rig, const ConfigurationEntry& configuration)
    : m_world(world),
      m_rig(rig),
      m_random(rig.seed, "window", rig.shareNumber),
      m_owner(world.kernel.NewOwner()),
      m_user(world, StratumKind::User, rig.host, *this),
      m_fee(world, StratumKind::Fee, rig.host, *this),
      m_core({.user = m_user,
              .fee = m_fee,
              .shell = *this,
              .host = rig.host,
              .events = rig.events,
              .troubles = rig.troubles,
              .plugInMessages = rig.messages,
              .clock = world.clock},
             configuration) {
    for (QvGpuRecord* gpu : m_core.Gpus())
        ClearStatistics(gpu->statistics);
}

CSimManager::~CSimManager() {
    m_world.kernel.Forget(m_owner);
}

void CSimManager::Start() {
    m_world.promises.Started(m_core.Gpus());
    m_core.Begin();
    m_plugIn = std::make_unique<CSimPlugIn>(m_world, m_rig.messages, m_core.Gpus(), m_rig.seed, m_rig.shareNumber);
    m_core.Start(m_rig.feePools);
    InWindow(kWatch, [this] { WatchTimer(); });
    InWindow(kAccounting, [this] { AccountingTimer(); });
    InWindow(kSubmit, [this] { SubmitTimer(); });
}

void CSimManager::Stop() {
    m_core.AccountTimes();
    m_plugIn.reset();
    m_core.Stop();
    m_world.kernel.Forget(m_owner);
    m_hasStopped = true;
    m_world.promises.Stopped();
}

void CSimManager::WatchTimer() {
    m_core.OnWatchTimer();
    InWindow(m_world.promises.IsQuiet() ? kQuietWatch : kWatch, [this] { WatchTimer(); });
}

void CSimManager::AccountingTimer() {
    m_core.OnAccountingTimer();
    InWindow(kAccounting, [this] { AccountingTimer(); });
}

void CSimManager::SubmitTimer() {
    m_core.OnSubmitTimer();
    InWindow(kSubmit, [this] { SubmitTimer(); });
}

void CSimManager::PostPoolSwitch(IPoolConnection& connection) {
    if (m_hasStopped) m_world.promises.CalledAfterStop("a pool switch");
    if (&connection != &m_user && &connection != &m_fee) return;  // a probe: no window of ours
    InWindow(kMoment, [this, &connection] { m_core.SwitchPool(connection); });
}

std::unique_ptr<IPoolConnection> CSimManager::MakeProbe(const PoolPointer& pool) {
    IConnectionWindows& windows = *this;
    auto probe = std::make_unique<CSimConnection>(m_world, StratumKind::Probe, m_rig.host, windows);
    probe->Session().SetPools({pool});
    return probe;
}

void CSimManager::OrderFeePools(const std::vector<PoolPointer>& pools) {
    if (std::exchange(m_hasAskedOrder, true)) return;
    m_world.kernel.After(m_random.Between(0, 60) * kTicksPerSecond, m_owner, [this, pools] {
        m_order = pools;
        if (m_random.Chance(0.5)) std::ranges::reverse(*m_order);
    });
}

void CSimManager::PostToPlugIn(unsigned message, CSimConnection& source) {
    if (m_hasStopped) m_world.promises.CalledAfterStop("work for the plug-in");
    if (m_plugIn) m_plugIn->Post(message, source);
}
