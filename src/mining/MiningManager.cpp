#include "mining/MiningManager.h"

#include <algorithm>

#include "common/CodePage.h"
#include "common/Messages.h"
#include "config/GpuCounters.h"
#include "mining/FeeSchedule.h"
#include "mining/HashRateReport.h"
#include "mining/LogName.h"
#include "mining/Statistics.h"
#include "net/HostText.h"

CMiningManager::CMiningManager(const MiningContext& context, const ConfigurationEntry& configuration)
    : m_context(context),
      m_log(context.clock),
      m_userSession(StratumKind::User, context.stratumHost, context.clock),
      m_feeSession(StratumKind::Fee, context.stratumHost, context.clock),
      m_gpus(configuration.gpus),
      m_pools{configuration.primaryPool, configuration.secondaryPool} {
    for (QvGpuRecord* gpu : m_gpus)
        ClearStatistics(gpu->statistics);
}

CMiningManager::~CMiningManager() {
    Stop();
}

bool CMiningManager::Start() {
    if (!CreateMessageOnly()) {
        const std::wstring line = std::wstring(L"Failed to create the session's window: ") + m_pools[0]->Name;
        Fail(line, line);
        return false;
    }
    OpenLog();
    LogConnect(*m_pools[0]);
    if (!LoadPlugin()) return false;
    StartPlugin();
    StartSessions();
    return true;
}

void CMiningManager::OpenLog() {
    m_log.enabled = m_context.connectionLog ? 1 : 0;
    if (!m_context.connectionLog) return;
    CreateDirectoryW(m_context.connectionLogFolder.c_str(), nullptr);
    m_log.CreateLogSystem((m_context.connectionLogFolder + ConnectionLogName(m_pools[0]->Name)).c_str(), 0);
}

bool CMiningManager::LoadPlugin() {
    const PoolEntry& pool = *m_pools[0];
    const QvDescriptor& algorithm = m_context.algorithms.Find(pool.Algo).record;
    const PluginLoadResult result = m_plugin.Load(algorithm);
    if (result == PluginLoadResult::Ok) return true;
    std::wstring line = std::wstring(L"Failed to load pool configuration/algo: ") + pool.Name;
    if (result == PluginLoadResult::NoAlgorithm) {
        const std::wstring number = std::to_wstring(pool.Algo);
        Fail(line, L"The plug-in for algorithm " + number + L" is missing");
        return false;
    }
    Fail(line + L" - " + algorithm.name,
         std::wstring(L"The plug-in ") + algorithm.name +
             (result == PluginLoadResult::NoInterface ? L" is none of this program" : L" cannot be loaded"));
    return false;
}

void CMiningManager::StartPlugin() {
    m_plugin.Post(QV_MSG_SET_OWNER, reinterpret_cast<WPARAM>(Handle()), 0);
    m_plugin.Post(QV_MSG_SET_GPUS, reinterpret_cast<WPARAM>(m_gpus.data()), static_cast<LPARAM>(m_gpus.size()));
    m_plugin.Post(QV_MSG_START, 0, 0);
}

void CMiningManager::StartSessions() {
    m_feePeriodTarget = FeePeriodTarget(m_pools[0]->Algo);
    if (m_context.feePools) m_feePools = m_context.feePools(m_pools[0]->Algo);
    m_feeSession.SetWindows(m_plugin.Window(), Handle());
    m_feeSession.SetPoolList(m_feePools);
    m_userSession.SetWindows(m_plugin.Window(), Handle());
    m_userSession.SetPoolList(ConnectablePools());
    m_userSession.SetLog(&m_log);
    m_mode = Mode::User;
    m_userSession.Connect();
    m_userSession.Activate();
}

std::vector<PoolPointer> CMiningManager::ConnectablePools() const {
    // Without a backup pool the second entry is the unassigned pool: failing over to it would mine nowhere.
    std::vector<PoolPointer> pools;
    std::copy_if(m_pools.begin(), m_pools.end(), std::back_inserter(pools),
                 [](const PoolPointer& pool) { return pool->Server[0] != L'\0'; });
    if (pools.empty()) pools.push_back(m_pools[0]);
    return pools;
}

void CMiningManager::Stop() {
    if (m_stopped) return;
    m_stopped = true;
    AccountTime(m_userSession);
    AccountTime(m_feeSession);
    m_plugin.StopWork();
    m_probe.reset();
    m_userSession.CloseConnection();
    m_feeSession.CloseConnection();
    for (const CTroubleWatch::Change& change : m_watch.End(m_context.clock))
        Tell(change);
    LogTotals();
    DestroyWindow();
    m_plugin.Unload();
}

LRESULT CMiningManager::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CREATE:
            SetTimer(Handle(), kSubmitTimerId, kSubmitPeriodMs, nullptr);
            SetTimer(Handle(), kAccountingTimerId, kAccountingPeriodMs, nullptr);
            SetTimer(Handle(), kWatchTimerId, kWatchPeriodMs, nullptr);
            return 0;
        case WM_DESTROY:
            KillTimer(Handle(), kSubmitTimerId);
            KillTimer(Handle(), kAccountingTimerId);
            KillTimer(Handle(), kWatchTimerId);
            return 0;
        case WM_TIMER:
            OnTimer(wParam);
            return 0;
        case kMessageReconnect:
            // The value is only compared: a message that outlived its session names nothing of ours.
            for (CMiningStratum* session : {&m_userSession, &m_feeSession}) {
                if (reinterpret_cast<WPARAM>(session) == wParam) SwitchPool(*session);
            }
            return 0;
        default:
            return CWnd::OnMessage(message, wParam, lParam);
    }
}

void CMiningManager::OnTimer(UINT_PTR id) {
    if (id == kWatchTimerId) Watch();
    if (HasFailed()) return;
    if (id == kSubmitTimerId) ReportHashRate();
    if (id != kAccountingTimerId) return;
    AccountTime(m_userSession);
    AccountTime(m_feeSession);
    Revive(m_userSession);
    StepFeeSchedule();
}

void CMiningManager::ReportHashRate() {
    const std::uint64_t total = SumGpuCounters(m_gpus).hashSpeed;
    const std::string clientId = WideToNarrow(m_userSession.HashRateId());
    if (total == 0 || !m_userSession.IsReady() || clientId.empty()) return;
    m_userSession.Send(HashRateRequest(total, clientId, m_userSession.PrefixFlag()));
}

void CMiningManager::Revive(CMiningStratum& session) {
    if (session.IsRunning()) return;
    m_log.LogLine(L"The connection had ended; connecting again");
    session.Connect();
}

// On the clock that stands still while the PC sleeps and does not jump with the system's time: nothing but mining counts.
void CMiningManager::AccountTime(CMiningStratum& session) {
    if (session.IsPaused()) return;
    const TimeSpan now = m_context.clock.Monotonic();
    const TimeSpan elapsed = now - session.lastTick;
    session.lastTick = now;
    session.minedTime += elapsed;
    session.activeTime += elapsed;
    (&session == &m_userSession ? m_userTime : m_feeTime) += elapsed;
}

void CMiningManager::SwitchPool(CMiningStratum& session) {
    if (HasFailed()) return;
    if (&session == &m_feeSession && !m_feeWanted) return;  // asked for before its period ended
    session.CloseConnection();
    session.ResetSession();
    const PoolPointer pool = session.CurrentPool();
    if (&session == &m_userSession && pool) {
        LogConnect(*pool);
        // The first change of an outage is told, the number of them when it is over.
        if (m_pools.size() > 1 && m_poolChanges++ == 0)
            m_context.events.Event(EventKind::Pool, pool->Name, L"this pool's turn now");
    }
    session.Connect();
}

void CMiningManager::LogConnect(const PoolEntry& pool) {
    std::wstring host = pool.Server;
    const std::uint32_t port = CutPort(host, pool.Port);
    m_log.LogLine(L"*** Miner connect to %s - %s:%d", pool.Name, host.c_str(), static_cast<int>(port));
}

void CMiningManager::Fail(const std::wstring& line, std::wstring reason) {
    m_failure = {TroubleCode::PlugInMissing, -1, std::move(reason), true};
    m_log.LogLine(L"%s", line.c_str());
    m_context.mainLog.LogFormat(LOG_SEVERITY_NORMAL, L"%s", line.c_str());
    Watch();
}
