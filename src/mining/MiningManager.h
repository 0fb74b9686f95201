#pragma once
#include <memory>
#include <optional>
#include <vector>
#include "mining/FeePools.h"
#include "mining/ManagerCore.h"
#include "mining/MiningContext.h"
#include "mining/PluginInstance.h"
#include "pool/MiningStratum.h"
#include "support/LogSystem.h"
#include "toolkit/Wnd.h"

// One mining session: one configuration, its plug-in and the two pool sessions that can feed it. What it does is decided by
// its core; this is the message-only window whose timers and messages drive it, with all that is Windows' own. Everything
// runs on the GUI thread; the pool sessions' threads reach it by posting only.
class CMiningManager final : public CWnd, private IManagerShell {
  public:
    CMiningManager(const MiningContext& context, const ConfigurationEntry& configuration);
    ~CMiningManager() override;

    // Clears the GPUs' counters, loads the plug-in and connects the user session. False: it could not start (the reason is
    // in the session's log and in the main log) and stays idle.
    bool Start();
    // Ends the plug-in's work, both connections, the window and the plug-in. After it nothing of this session runs.
    void Stop();

    // What is to be known of the session, and its two connections.
    const CManagerCore& Core() const { return m_core; }
    CMiningStratum& UserSession() { return m_userSession; }
    CMiningStratum& FeeSession() { return m_feeSession; }

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    static constexpr UINT_PTR kSubmitTimerId = 1;
    static constexpr UINT kSubmitPeriodMs = 90000;
    static constexpr UINT_PTR kAccountingTimerId = 2;
    static constexpr UINT kAccountingPeriodMs = 30000;
    static constexpr UINT_PTR kWatchTimerId = 3;
    static constexpr UINT kWatchPeriodMs = 1000;

    void OpenLog();
    bool LoadPlugin();
    void StartPlugin();
    void OnTimer(UINT_PTR id);

    void LogLine(const std::wstring& text) override;
    void LogMain(const std::wstring& text) override;
    void PostPoolSwitch(IPoolConnection& connection) override;
    std::unique_ptr<IPoolConnection> MakeProbe(const PoolPointer& pool) override;
    void OrderFeePools(const std::vector<PoolPointer>& pools) override;
    std::optional<std::vector<PoolPointer>> TakeFeePoolOrder() override { return m_feePoolOrder.Take(); }

    const MiningContext& m_context;
    CBKLogSystem m_log;  // before the sessions, which write into it until they have gone
    CMiningStratum m_userSession;
    CMiningStratum m_feeSession;
    CFeePoolOrder m_feePoolOrder;
    CManagerCore m_core;
    CPluginInstance m_plugin;
    bool m_stopped = false;
};
