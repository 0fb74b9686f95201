#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>
#include "config/MinerConfiguration.h"
#include "world/Faults.h"
#include "world/Kernel.h"

// What a look at world and rig shows, as the world knows it, whatever the program believes.
struct Situation {
    bool wantsMining = false;  // somebody started it, and the program runs
    bool hasStopped = false;   // by itself
    bool everMined = false;    // since it was started
    bool isKnown = false;      // a pool in order has been mined at since then
    bool canMine = false;      // a pool in order is within reach, and a card works
    bool isMining = false;     // a card hashes a job of a pool that is there
    bool developerTime = false;
    bool believesMining = false;  // the program, of the pool
    std::string state;            // in the program's words
    bool hasReason = false;       // the program says why it does not mine
    std::size_t troubles = 0;     // that stand on the board
    std::size_t logLines = 0;
    std::int64_t allowance = 0;  // the greatest of the faults that last, in seconds
    bool isBusy = false;         // the window's messages wait
};

// What must always hold. It is told what happens, and keeps its own books; the first thing that is broken is kept.
class CPromises {
  public:
    explicit CPromises(const CKernel& kernel) : m_kernel(kernel) {}

    struct Failure {
        std::string promise;
        std::string text;
        TimeSpan at = 0;
        std::uint64_t step = 0;
    };
    const std::optional<Failure>& Failed() const { return m_failure; }
    void Broken(const std::string& promise, const std::string& text);

    // Mining begins or ends; the GPUs' counters begin at 0 with the first.
    void Started(const std::vector<QvGpuRecord*>& gpus);
    void Stopped();
    // What was started has gone without a word: the process was killed.
    void Died();
    bool IsStarted() const { return m_isStarted; }

    // Shares: one was found and handed over, one was sent, came to a pool (nonce: "n<number>"), and an answer was delivered.
    void ShareFound(int gpu) { ++Book(gpu).found; }
    void ShareSent(int gpu) { ++Book(gpu).sent; }
    void ShareArrived(std::string_view nonce, int jobPool, int pool, bool hasLoggedIn);
    void AnswerDelivered(int gpu, bool isTrue);
    // The plug-in's source of work is another one now.
    void SourceIs(bool isDeveloper);
    // Something of the connection has been called after it had stopped.
    void CalledAfterStop(const std::string& what) { Broken("after-stop", what); }
    void UserRefused() { m_userRefused = true; }

    // About once a second, or every ten while all is quiet.
    void Look(const Situation& now);
    // Once a minute: attempts to connect to each pool so far.
    void Attempts(const std::array<std::uint64_t, kPools>& attempts);
    void Changed() { m_changed = m_kernel.Now(); }
    bool IsQuiet() const;

    TimeSpan MinedTime() const { return m_totalMined; }
    std::uint64_t Shares() const { return m_shares; }
    // How long it took at most to mine again, counted against what was promised then.
    TimeSpan LongestWait() const { return m_longestWait; }

  private:
    struct ShareBook {
        std::uint64_t found = 0;
        std::uint64_t sent = 0;
        std::uint64_t accepted = 0;
        std::uint64_t rejected = 0;
    };
    ShareBook& Book(int gpu) { return m_books[static_cast<std::size_t>(gpu)]; }
    void CheckBooks(bool isSettled);
    void CheckFee(const Situation& now);
    void CheckMining(const Situation& now);
    void CheckReason(const Situation& now);

    const CKernel& m_kernel;
    std::optional<Failure> m_failure;
    bool m_isStarted = false;
    std::vector<QvGpuRecord*> m_gpus;
    std::array<ShareBook, kMostCards> m_books = {};
    std::vector<bool> m_arrived;  // by the share's number
    std::uint64_t m_shares = 0;

    // Whom the plug-in worked for, since the last developer's time had ended.
    bool m_isDeveloper = false;
    TimeSpan m_sourceSince = 0;
    TimeSpan m_userTime = 0;
    bool m_wasBusy = false;

    Situation m_last;
    TimeSpan m_looked = 0;
    TimeSpan m_changed = 0;
    TimeSpan m_waitsSince = 0;  // it could mine and does not, and does not believe it
    TimeSpan m_deafSince = 0;   // it believes that it mines
    TimeSpan m_idleSince = 0;   // it does not mine, whyever
    TimeSpan m_busyUntil = 0;
    std::int64_t m_allowance = 0;  // while it waits
    TimeSpan m_reasonAt = 0;       // when there was a reason for that last
    bool m_userRefused = false;
    bool m_isWaiting = false;
    bool m_isDeaf = false;
    bool m_isIdle = false;
    TimeSpan m_totalMined = 0;
    TimeSpan m_longestWait = 0;
    std::array<std::uint64_t, kPools> m_attempts = {};
    std::size_t m_linesAtMinute = 0;
};
