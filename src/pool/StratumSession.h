#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>
#include "common/Clock.h"
#include "config/MinerConfiguration.h"
#include "config/PoolTarget.h"
#include "pool/ConnectionStatus.h"
#include "pool/PoolAccess.h"
#include "pool/ProtocolMode.h"
#include "pool/ShareDesk.h"
#include "pool/StratumHost.h"
#include "pool/StratumRequests.h"
#include "quorvel/plugin.h"

class CStratumMessage;

// Probe: finds out whether a pool gives work; never feeds the plug-in and has no say in whether mining goes on.
enum class StratumKind : std::int32_t { User = 1, Fee = 2, Probe = 3 };

// Deadlines of a connection, on the monotonic clock.
inline constexpr TimeSpan kSubscribeTime = 10 * kTicksPerSecond;  // until the subscribe is answered
inline constexpr TimeSpan kAuthorizeTime = 30 * kTicksPerSecond;  // until the authorisation is answered
inline constexpr TimeSpan kJobTime = 120 * kTicksPerSecond;       // from the login until the first job
inline constexpr TimeSpan kSilenceTime = 10 * kTicksPerMinute;    // without any line

// How the pool answered this session's shares.
struct AnswerCounts {
    std::uint64_t accepted = 0;
    std::uint64_t rejected = 0;
};

// The protocol of one pool session without sockets and windows: what the connection reports goes in, requests, work messages
// and log lines go out through IStratumOutput. It owns the work block and keeps the pools alive that the block points into.
//
// Threads: SetPools and Reset on the GUI thread while no connection runs. The events on the connection's I/O thread.
// Activate and Pause on the GUI thread, the readers on any thread, both also while the connection runs.
class CStratumSession {
  public:
    // backPointer: what the work block names as the session.
    CStratumSession(StratumKind kind, IStratumHost& host, IStratumOutput& output, const IClock& clock, void* backPointer);
    ~CStratumSession();
    CStratumSession(const CStratumSession&) = delete;
    CStratumSession& operator=(const CStratumSession&) = delete;

    // Replaces the pools, makes the first one current and resets. The work block names nothing of the earlier pools then.
    void SetPools(std::vector<PoolPointer> pools);
    // Forgets job, mode and errors and takes over the current pool.
    void Reset();

    // Events.
    void Resolving(std::string_view host);
    void Connecting(std::string_view address);
    // What keeps the connection from being read and changed on its way, which is about to be made: for the log.
    void Secured(std::string_view how);
    void Connected();
    void Disconnected();
    // The connection, or the way to one, was ended from this side: no trouble of the pool's. Once nothing runs any more.
    void Closed();
    // text: narrow. The transport is to keep trying whatever happened.
    void ConnectError(std::string_view text, std::uint32_t code);
    // One line of the pool; a NUL stands behind it.
    void LineReceived(std::string_view line);
    // Does what is due while there is a connection; in how many milliseconds it is to be called again at the latest.
    std::uint32_t Tick();
    // How many milliseconds to wait before the next attempt to connect. Between connections.
    std::uint32_t RetryDelay();

    // A share of the plug-in's; any thread. Goes out at once while the session is ready and has a job; otherwise it is held
    // for a moment, for the pool to give its job again, and else counted as stale. 0, or why it could be neither sent nor
    // held.
    std::uint32_t SubmitShare(std::string_view request);

    // Becomes the plug-in's work source and replays its whole state.
    void Activate();
    // After it has returned no work message is posted until the next activation.
    void Pause();

    bool IsPaused() const { return m_paused; }
    bool IsReady() const { return m_ready; }
    bool PrefixFlag() const;
    std::wstring HashRateId() const;
    double Difficulty() const { return m_difficulty; }
    JobInfo CurrentJob() const { return m_currentJob.Get(); }
    AnswerCounts Answers() const { return {m_accepted, m_rejected}; }  // since construction
    ProtocolMode ActiveMode() const;
    StratumKind Kind() const { return m_kind; }
    const StratumWorkBlock& WorkBlock() const { return m_block; }
    ConnectionStatus Status() const;

    std::uint32_t PoolIndex() const { return m_poolIndex; }
    void SetPoolIndex(std::uint32_t index) { m_poolIndex = index; }
    // Null: there is no such pool.
    PoolPointer CurrentPool() const;
    // Where the connection leads, of the pool that was current at the last reset. While no connection runs, or on its
    // thread.
    const PoolTarget& Target() const { return m_target; }
    const ProxyAddress& Proxy() const { return m_proxy; }

  private:
    // Replies and notifications, by id and by method (StratumSessionReplies.cpp).
    void SubscribeReply(const CStratumMessage& message, PoolError& error);
    void AuthorizeReply(const CStratumMessage& message, PoolError& error);
    void DetectNiceHash(const CStratumMessage& message);
    void ShareReply(const CStratumMessage& message, PoolError& error);
    bool HandleMethod(std::string_view method, const CStratumMessage& message);
    bool HandleJob(const CStratumMessage& message);
    void HandleDifficulty(const CStratumMessage& message);
    void TakeExtranonce(const CStratumMessage& message);
    void HandlePoolError(const PoolError& error);
    void RefuseLogin(PoolError& error);

    void CheckDeadlines(TimeSpan now);
    void Drop(TroubleCode code, const std::string& text);
    void CarryOut(const CPoolAccess::Verdict& verdict);
    void BecomeReady();
    void BeginWork();
    void ReleaseShares();
    void CountStale(const std::vector<std::int32_t>& gpus);
    void SetPhase(ConnectionPhase phase, std::string target = {});
    void SetFailure(TroubleCode code, std::string text);
    void SetDoubt(ConnectionFailure doubt);
    void LogOnce(const std::string& text);

    void PostWork(unsigned message);
    void ClearTarget();
    void SetActiveMode(ProtocolMode mode);
    LoginFields Login() const;
    void TakeWorkerName();
    const wchar_t* KeepText(std::wstring text);

    const StratumKind m_kind;
    IStratumHost& m_host;
    IStratumOutput& m_output;
    const IClock& m_clock;
    const std::wstring m_hashRateId;

    // Changed only while no connection runs.
    std::vector<PoolPointer> m_pools;
    PoolPointer m_loginPool;  // the pool of this connection, whatever the index says meanwhile; may be null
    std::uint32_t m_loginIndex = 0;
    PoolTarget m_target;  // of that pool
    ProxyAddress m_proxy;
    // Every text whose address was ever in the work block; plug-ins read them at any time.
    std::vector<std::unique_ptr<const std::wstring>> m_keptTexts;

    // Of the I/O thread, and of Reset.
    std::unique_ptr<CStratumMessage> m_message;
    CPoolAccess m_access;
    bool m_isConnected = false;
    bool m_dropping = false;       // this side ends the connection; m_failure says why
    TimeSpan m_subscribeSent = 0;  // monotonic, like the next; 0: not waited for
    TimeSpan m_authorizeSent = 0;
    TimeSpan m_readySince = 0;
    TimeSpan m_lastLine = 0;
    bool m_jobHere = false;  // of this connection
    bool m_difficultyHere = false;
    bool m_isDoubted = false;   // m_status.doubt says why
    ddt_datetime m_loginError;  // of the latest refusal that was recorded as the pool's error
    std::string m_lastRemark;   // not repeated line by line

    CShareDesk m_shares;

    mutable std::mutex m_statusLock;  // held for copies, and only when what it guards changes
    ConnectionStatus m_status;

    // Orders the work messages of both threads; held for the posting alone, never for a callback that might wait.
    std::mutex m_postLock;
    std::atomic<bool> m_paused = true;  // changed under m_postLock

    // Written by the I/O thread, read by others. hasJob and hasExtranonce follow the texts of the work block.
    std::atomic<bool> m_ready = false;
    std::atomic<bool> m_isClosed = false;     // ended from this side, and not reset since
    std::atomic<bool> m_sharesMayGo = false;  // ready, and the job is this connection's
    std::atomic<bool> m_hasJob = false;
    std::atomic<bool> m_hasExtranonce = false;
    std::atomic<bool> m_hashRateRefused = false;
    std::atomic<double> m_difficulty = 0.0;
    CCurrentJob m_currentJob;
    std::atomic<std::uint64_t> m_accepted = 0;
    std::atomic<std::uint64_t> m_rejected = 0;
    std::atomic<std::uint32_t> m_poolIndex = 0;
    StratumWorkBlock m_block = {};
};

// A pool session with the transport that carries it: a socket with a thread of its own, or what stands in for one. One
// thread steers it. Its session is read by any thread; it may be changed (pools, reset) only while nothing runs.
class IPoolConnection {
  public:
    virtual ~IPoolConnection() = default;
    virtual CStratumSession& Session() = 0;
    // Resets the session and connects to its current pool, from then on again and again. Nothing while it runs, and without
    // a pool.
    virtual void Connect() = 0;
    // When it has returned nothing of the connection runs any more.
    virtual void CloseConnection() = 0;
    virtual bool IsRunning() const = 0;
    // One request, line feed included. 0, or why it was not sent.
    virtual std::uint32_t SendRequest(std::string_view text) = 0;
};
