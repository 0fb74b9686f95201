#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>
#include "mining/FeePoolOrder.h"
#include "mining/MiningContext.h"
#include "mining/PluginInstance.h"
#include "mining/SessionState.h"
#include "mining/TroubleWatch.h"
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

    bool HasFailed() const { return !m_failure.text.empty(); }
    const std::vector<QvGpuRecord*>& Gpus() const { return m_gpus; }
    Mode CurrentMode() const { return m_mode; }
    PoolRole CurrentRole() const;
    SessionState State() const;
    GpuActivity ActivityOf(const QvGpuRecord& gpu) const;
    // Trouble of this session and its GPUs that has lasted long enough to be told.
    std::vector<PoolError> Troubles() const { return m_watch.Lasting(); }
    const CMiningStratum& UserSession() const { return m_userSession; }
    CMiningStratum& UserSession() { return m_userSession; }
    const CMiningStratum& FeeSession() const { return m_feeSession; }
    CMiningStratum& FeeSession() { return m_feeSession; }
    // Time mined since the start: for the user, and for the developer.
    TimeSpan UserTime() const { return m_userTime; }
    TimeSpan FeeTime() const { return m_feeTime; }

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
    void StartSessions();
    void OnTimer(UINT_PTR id);
    // Sends the summed hash rate to the user's pool.
    void ReportHashRate();
    // Adds the time since the last accounting, unless the session is paused.
    void AccountTime(CMiningStratum& session);

    // The developer fee.
    void StepFeeSchedule();
    void ConnectFeeSession();
    void BeginFeePeriod(std::uint64_t owed);
    void EndFeePeriod(std::uint64_t owed);
    void LogTotals();

    // Once a second: trouble that begins and ends, and the way back to the primary pool (MiningManagerWatch.cpp).
    void Watch();
    std::vector<Concern> Concerns() const;
    void Tell(const CTroubleWatch::Change& change);
    void TellWork();
    void SeekPrimary();
    void LeaveForPrimary();

    // Takes up a connection whose thread could not be started.
    void Revive(CMiningStratum& session);
    void SwitchPool(CMiningStratum& session);
    void LogConnect(const PoolEntry& pool);
    void Fail(const std::wstring& line, std::wstring reason);
    // Those of the pools that name a server; the primary alone when none does.
    std::vector<PoolPointer> ConnectablePools() const;

    const MiningContext& m_context;
    CBKLogSystem m_log;  // before the sessions, which write into it until they have gone
    Concern m_failure;   // why it could not start; no text: it did
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
    std::vector<QvGpuRecord*> m_gpus;
    std::vector<PoolPointer> m_pools;  // primary, backup
    CPluginInstance m_plugin;

    CTroubleWatch m_watch;
    std::wstring m_toldWork;      // where it was told last that it mines
    std::wstring m_presentWork;   // where it mines
    TimeSpan m_presentSince = 0;  // since when, monotonic like the next
    std::uint32_t m_poolChanges = 0;  // since it mined last
    // Tries the primary pool while the backup pool is mined on; null: it is not time yet.
    std::unique_ptr<CMiningStratum> m_probe;
    TimeSpan m_probeDue = 0;  // 0: not on the backup pool
};
