#include "mining/MiningManager.h"

#include "common/Messages.h"
#include "mining/LogName.h"
#include "mining/ManagerCore.h"

CMiningManager::CMiningManager(const MiningContext& context, const ConfigurationEntry& configuration)
    : m_context(context),
      m_log(context.clock),
      m_userSession(StratumKind::User, context.stratumHost, context.clock),
      m_feeSession(StratumKind::Fee, context.stratumHost, context.clock),
      m_core({.user = m_userSession,
              .fee = m_feeSession,
              .shell = *this,
              .host = context.stratumHost,
              .events = context.events,
              .troubles = context.troubles,
              .plugInMessages = context.plugInMessages,
              .clock = context.clock},
             configuration) {
    for (QvGpuRecord* gpu : m_core.Gpus())
        ClearStatistics(gpu->statistics);
}

CMiningManager::~CMiningManager() {
    Stop();
}

bool CMiningManager::Start() {
    if (!CreateMessageOnly()) {
        const std::wstring line = std::wstring(L"Failed to create the session's window: ") + m_core.Pool().Name;
        m_core.Fail(line, line);
        return false;
    }
    OpenLog();
    m_core.Begin();
    if (!LoadPlugin()) return false;
    StartPlugin();
    m_feeSession.SetWindows(m_plugin.Window(), Handle());
    m_userSession.SetWindows(m_plugin.Window(), Handle());
    m_userSession.SetLog(&m_log);
    m_core.Start(m_context.feePools ? m_context.feePools(m_core.Pool().Algo) : std::vector<PoolPointer>());
    return true;
}

void CMiningManager::OpenLog() {
    m_log.enabled = m_context.connectionLog ? 1 : 0;
    if (!m_context.connectionLog) return;
    CreateDirectoryW(m_context.connectionLogFolder.c_str(), nullptr);
    m_log.CreateLogSystem((m_context.connectionLogFolder + ConnectionLogName(m_core.Pool().Name)).c_str(), 0);
}

bool CMiningManager::LoadPlugin() {
    const PoolEntry& pool = m_core.Pool();
    const QvDescriptor& algorithm = m_context.algorithms.Find(pool.Algo).record;
    const PluginLoadResult result = m_plugin.Load(algorithm);
    if (result == PluginLoadResult::Ok) return true;
    std::wstring line = std::wstring(L"Failed to load pool configuration/algo: ") + pool.Name;
    if (result == PluginLoadResult::NoAlgorithm) {
        m_core.Fail(line, L"The plug-in for algorithm " + std::to_wstring(pool.Algo) + L" is missing");
        return false;
    }
    m_core.Fail(line + L" - " + algorithm.name,
                std::wstring(L"The plug-in ") + algorithm.name +
                    (result == PluginLoadResult::NoInterface ? L" is none of this program" : L" cannot be loaded"));
    return false;
}

void CMiningManager::StartPlugin() {
    const std::vector<QvGpuRecord*>& gpus = m_core.Gpus();
    m_plugin.Post(QV_MSG_SET_OWNER, reinterpret_cast<WPARAM>(Handle()), 0);
    m_plugin.Post(QV_MSG_SET_GPUS, reinterpret_cast<WPARAM>(gpus.data()), static_cast<LPARAM>(gpus.size()));
    m_plugin.Post(QV_MSG_START, 0, 0);
}

void CMiningManager::Stop() {
    if (m_stopped) return;
    m_stopped = true;
    m_core.AccountTimes();
    m_plugin.StopWork();
    m_core.Stop();
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
                if (reinterpret_cast<WPARAM>(session) == wParam) m_core.SwitchPool(*session);
            }
            return 0;
        default:
            return CWnd::OnMessage(message, wParam, lParam);
    }
}

void CMiningManager::OnTimer(UINT_PTR id) {
    if (id == kWatchTimerId) m_core.OnWatchTimer();
    if (id == kSubmitTimerId) m_core.OnSubmitTimer();
    if (id == kAccountingTimerId) m_core.OnAccountingTimer();
}

void CMiningManager::LogLine(const std::wstring& text) {
    m_log.LogLine(L"%s", text.c_str());
}

void CMiningManager::LogMain(const std::wstring& text) {
    m_context.mainLog.LogFormat(LOG_SEVERITY_NORMAL, L"%s", text.c_str());
}

void CMiningManager::PostPoolSwitch(IPoolConnection& connection) {
    const CMiningStratum& session = &connection == &m_feeSession ? m_feeSession : m_userSession;
    PostMessageW(Handle(), kMessageReconnect, reinterpret_cast<WPARAM>(&session), 0);
}

std::unique_ptr<IPoolConnection> CMiningManager::MakeProbe(const PoolPointer& pool) {
    auto probe = std::make_unique<CMiningStratum>(StratumKind::Probe, m_context.stratumHost, m_context.clock);
    probe->Session().SetPools({pool});
    probe->SetLog(&m_log);
    return probe;
}

void CMiningManager::OrderFeePools(const std::vector<PoolPointer>& pools) {
    if (m_context.ping) m_feePoolOrder.Start(pools, m_context.ping);
}
