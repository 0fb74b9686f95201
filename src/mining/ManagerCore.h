#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include "mining/PlugInMessages.h"
#include "mining/SessionState.h"
#include "mining/TroubleWatch.h"
#include "pool/StratumSession.h"
#include "quorvel/plugin.h"
#include "support/Event.h"

// What a manager's core asks of what is around it. Called on the core's thread, within its operations.
class IManagerShell {
  public:
    virtual ~IManagerShell() = default;
    // One line in the session's own log; one in the program's.
    virtual void LogLine(const std::wstring& text) = 0;
    virtual void LogMain(const std::wstring& text) = 0;
    // SwitchPool is to be called for this connection once the present operation has returned.
    virtual void PostPoolSwitch(IPoolConnection& connection) = 0;
    // A connection that finds out whether a pool gives work; not connected yet.
    virtual std::unique_ptr<IPoolConnection> MakeProbe(const PoolPointer& pool) = 0;
    // Has the developer's pools ordered by how near they are, once; nobody waits for it. The order is to be had, once, when
    // it is there.
    virtual void OrderFeePools(const std::vector<PoolPointer>& pools) = 0;
    virtual std::optional<std::vector<PoolPointer>> TakeFeePoolOrder() = 0;
};

// What one mining session decides: which connection feeds the plug-in and for how long, which pool it is at, what is trouble
// and what is told of it. Events and time go in, orders to the connections and the shell come out. Portable and without
// threads, windows and sockets; one thread calls it. A core that has not been started, or failed, connects nothing.
class CManagerCore {
  public:
    // What feeds the plug-in.
    enum class Mode { User = 1, Fee = 2 };

    // All of it outlives the core, which touches nothing of it before it is started.
    struct Parts {
        IPoolConnection& user;
        IPoolConnection& fee;
        IManagerShell& shell;
        IStratumHost& host;
        IEventSink& events;
        CTroubleBoard& troubles;
        const CPlugInMessages& plugInMessages;
        const IClock& clock;
    };
    // Keeps the configuration's pools by shared ownership.
    CManagerCore(const Parts& parts, const ConfigurationEntry& configuration);
    CManagerCore(const CManagerCore&) = delete;
    CManagerCore& operator=(const CManagerCore&) = delete;

    // ---- Events
    // ------------------------------------------------------------------------------------------------------------ The log
    // is open; what follows is about the primary pool.
    void Begin();
    // The plug-in is there: the user session connects and feeds it. feePools: in the order in which they are tried.
    void Start(std::vector<PoolPointer> feePools);
    // The plug-in is not: line for the logs, and the reason for whoever asks.
    void Fail(const std::wstring& line, std::wstring reason);
    // Brings the counters of the session that feeds the plug-in up to date.
    void AccountTimes();
    // The plug-in has stopped: both connections end, trouble is over, the totals are told. Nothing is to follow.
    void Stop();
    // Every 30 s: time, connections that ended by themselves, the developer's time.
    void OnAccountingTimer();
    // Every 90 s: the summed hash rate goes to the user's pool.
    void OnSubmitTimer();
    // Every second: trouble that begins and ends, and the way back to the primary pool.
    void OnWatchTimer();
    // What PostPoolSwitch asked for, or the session itself when it had had enough of a pool.
    void SwitchPool(IPoolConnection& connection);

    // ---- What is to be known
    // -----------------------------------------------------------------------------------------------
    bool HasFailed() const { return !m_failure.text.empty(); }
    const std::vector<QvGpuRecord*>& Gpus() const { return m_gpus; }
    // The primary pool.
    const PoolEntry& Pool() const { return *m_pools[0]; }
    Mode CurrentMode() const { return m_mode; }
    PoolRole CurrentRole() const;
    // The session that feeds the plug-in.
    const CStratumSession& WorkSource() const { return m_mode == Mode::Fee ? Fee() : User(); }
    const CStratumSession& User() const { return m_user.connection.Session(); }
    const CStratumSession& Fee() const { return m_fee.connection.Session(); }
    SessionState State() const;
    GpuActivity ActivityOf(const QvGpuRecord& gpu) const;
    // Trouble of this session and its GPUs that has lasted long enough to be told.
    std::vector<PoolError> Troubles() const { return m_watch.Lasting(); }
    // Time mined since the start: for the user, and for the developer.
    TimeSpan UserTime() const { return m_user.total; }
    TimeSpan FeeTime() const { return m_fee.total; }

  private:
    // A connection and its time as the plug-in's work source, on the monotonic clock.
    struct Source {
        IPoolConnection& connection;
        TimeSpan lastTick = 0;
        TimeSpan minedTime = 0;   // since the last developer's time
        TimeSpan activeTime = 0;  // since it was last made the work source
        TimeSpan total = 0;
    };

    void AccountTime(Source& source);
    void Activate(Source& source);
    // Takes up a connection whose thread could not be started.
    void Revive(const Source& source);
    void ReturnToFirstPool(const Source& source);
    void LogConnect(const PoolEntry& pool);

    // The developer fee.
    void StepFeeSchedule();
    void ConnectFee();
    void BeginFeePeriod(std::uint64_t owed);
    void EndFeePeriod(std::uint64_t owed);
    void LogTotals();

    std::vector<Concern> Concerns() const;
    void Tell(const CTroubleWatch::Change& change);
    void TellWork();
    void SeekPrimary();
    void LeaveForPrimary();
    // Those of the pools that name a server; the primary alone when none does.
    std::vector<PoolPointer> ConnectablePools() const;

    const Parts m_parts;
    const std::vector<QvGpuRecord*> m_gpus;
    const std::vector<PoolPointer> m_pools;  // primary, backup
    Source m_user;
    Source m_fee;
    Concern m_failure;  // why it could not start; no text: it did
    Mode m_mode = Mode::User;
    bool m_feeWanted = false;  // from the pre-connection to the end of the fee period
    std::uint64_t m_feePeriodTarget = 0;
    std::vector<PoolPointer> m_feePools;

    CTroubleWatch m_watch;
    std::wstring m_toldWork;          // where it was told last that it mines
    std::wstring m_presentWork;       // where it mines
    TimeSpan m_presentSince = 0;      // since when, monotonic like the next
    std::uint32_t m_poolChanges = 0;  // since it mined last
    // Tries the primary pool while the backup pool is mined on; null: it is not time yet.
    std::unique_ptr<IPoolConnection> m_probe;
    TimeSpan m_probeDue = 0;  // 0: not on the backup pool
};

// All words of the block to 0. Only while no plug-in mines with the GPU.
void ClearStatistics(CMiningStatistics& statistics);
