#pragma once
#include <cstdint>
#include <string>
#include <vector>
#include "mining/FeePoolOrder.h"
#include "mining/MiningContext.h"
#include "mining/PluginInstance.h"
#include "pool/MiningStratum.h"
#include "support/LogSystem.h"
#include "toolkit/Wnd.h"

// One mining session: one configuration, its plug-in and the two pool sessions that can feed it. A message-only window whose
// timers and messages run on the GUI thread, like every operation here; the pool sessions' threads reach it by posting only.
//
// It keeps the configuration's pools by shared ownership, so a configuration that is replaced meanwhile takes nothing away.
class CMiningManager final : public CWnd {
  public:
    // What feeds the plug-in.
    enum class Mode { User = 1, Fee = 2 };
    // Which pool is mined on.
    enum class PoolRole { Primary = 0, Fee = 1, Backup = 2, FeeBackup = 3 };

    CMiningManager(const MiningContext& context, const ConfigurationEntry& configuration);
    ~CMiningManager() override;

    // Clears the GPUs' counters, loads the plug-in and connects the user session. False: it could not start (the reason is
    // in the session's log and in the main log) and stays idle.
    bool Start();
    // Ends the plug-in's work, both connections, the window and the plug-in. After it nothing of this session runs.
    void Stop();

    bool HasFailed() const { return m_failed; }
    const std::vector<QvGpuRecord*>& Gpus() const { return m_gpus; }
    Mode CurrentMode() const { return m_mode; }
    PoolRole CurrentRole() const;
    const CMiningStratum& UserSession() const { return m_userSession; }
    const CMiningStratum& FeeSession() const { return m_feeSession; }
    CMiningStratum& FeeSession() { return m_feeSession; }
    // Time mined since the start: for the user, and for the developer.
    TimeSpan UserTime() const { return m_userTime; }
    TimeSpan FeeTime() const { return m_feeTime; }
    CMiningStratum& UserSession() { return m_userSession; }

  protected:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    static constexpr UINT_PTR kSubmitTimerId = 1;
    static constexpr UINT kSubmitPeriodMs = 90000;
    static constexpr UINT_PTR kAccountingTimerId = 2;
    static constexpr UINT kAccountingPeriodMs = 30000;

    void OpenLog();
    bool LoadPlugin();
    void StartPlugin();
    void StartSessions();
    void OnTimer(UINT_PTR id);
    // Sends the summed hash rate to the user's pool.
    void ReportHashRate();
    // Adds the time since the last accounting, unless the session is paused. A clock that was set back adds nothing.
    void AccountTime(CMiningStratum& session);

    // The developer fee.
    void StepFeeSchedule();
    void ConnectFeeSession();
    void BeginFeePeriod(std::uint64_t owed);
    void EndFeePeriod(std::uint64_t owed);
    void LogTotals();

    // The connection's thread ends by itself on errors that it does not know, such as an unreachable network; a rig that is
    // left alone must go on when the network is back.
    void Revive(CMiningStratum& session);
    void SwitchPool(CMiningStratum& session);
    void LogConnect(const PoolEntry& pool);
    void Fail(const std::wstring& reason);
    // Those of the pools that name a server; the primary alone when none does.
    std::vector<PoolPointer> ConnectablePools() const;

    bool m_failed = false;
    bool m_stopped = false;
    CMiningStratum m_userSession;
    CMiningStratum m_feeSession;
    Mode m_mode = Mode::User;
    bool m_feeWanted = false;  // from the pre-connection to the end of the fee period
    std::uint64_t m_feePeriodTarget = 0;
    std::vector<PoolPointer> m_feePools;
    CFeePoolOrder m_feePoolOrder;
    TimeSpan m_userTime = 0;
    TimeSpan m_feeTime = 0;
    CBKLogSystem m_log;
    std::vector<QvGpuRecord*> m_gpus;
    std::vector<PoolPointer> m_pools;  // primary, backup
    CPluginInstance m_plugin;
    const MiningContext& m_context;
};
