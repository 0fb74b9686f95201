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
#include "pool/CurrentJob.h"
#include "pool/ProtocolMode.h"
#include "pool/StratumHost.h"
#include "pool/StratumOutput.h"
#include "pool/StratumRequests.h"
#include "quorvel/plugin.h"

class CStratumMessage;

enum class StratumKind : std::int32_t { User = 1, Fee = 2 };

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
    void Connected();
    void Disconnected();
    // The connection was ended from this side: no trouble of the pool's.
    void Closed();
    // text: narrow. The transport is to keep trying whatever happened.
    void ConnectError(std::string_view text, std::uint32_t code);
    // One line of the pool; a NUL stands behind it.
    void LineReceived(std::string_view line);

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

    std::uint32_t PoolIndex() const { return m_poolIndex; }
    void SetPoolIndex(std::uint32_t index) { m_poolIndex = index; }
    // Null: there is no such pool.
    PoolPointer CurrentPool() const;

  private:
    // Replies and notifications, by id and by method.
    void SubscribeReply(const CStratumMessage& message, PoolError& error);
    void DetectNiceHash(const CStratumMessage& message);
    void ShareReply(const CStratumMessage& message, PoolError& error);
    void HandleMethod(std::string_view method, const CStratumMessage& message);
    void HandleJob(const CStratumMessage& message);
    void HandleDifficulty(const CStratumMessage& message);
    void AnnounceExtranonce();
    void HandlePoolError(const PoolError& error);

    void PostWork(unsigned message);
    void SwitchPool();
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
    PoolPointer m_loginPool;    // the pool of this connection, whatever the index says meanwhile; may be null
    std::wstring m_serverName;  // its host, without port
    // Every text whose address was ever in the work block; plug-ins read them at any time.
    std::vector<std::unique_ptr<const std::wstring>> m_keptTexts;

    // Of the I/O thread, and of Reset.
    std::unique_ptr<CStratumMessage> m_message;
    std::uint32_t m_connectErrors = 0;
    std::uint32_t m_disconnects = 0;
    ddt_datetime m_lastConnect;
    ProtocolMode m_triedMode = ProtocolMode::EthProxy;

    // Orders the work messages of both threads; held for the posting alone, never for a callback that might wait.
    std::mutex m_postLock;
    std::atomic<bool> m_paused = true;  // changed under m_postLock

    // Written by the I/O thread, read by others. hasJob and hasExtranonce follow the texts of the work block.
    std::atomic<bool> m_ready = false;
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
