#pragma once
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include "ethash/engine/HashWorker.h"
#include "ethash/engine/ShareSender.h"
#include "kit/SpeedRecorder.h"

// Why a card's thread has ended.
struct CardEnd {
    enum class Kind {
        Stopped,   // the board was closed
        Lost,      // the card does not answer as it should: opening it anew may help
        Unusable,  // it would not help
    };
    Kind kind = Kind::Stopped;
    std::string reason;
    std::chrono::steady_clock::duration hashed{};  // for so long it did before
};

// What the thread of one card and the worker that watches it share. A driver's call may never return; then the desk is
// closed, and whatever the thread may still do reaches nothing that could be gone by then. Any thread.
class CCardDesk {
  public:
    using Clock = std::chrono::steady_clock;

    // The records and services of place and host are touched until the desk is closed. afterTrouble: the log said last that
    // the card does not hash.
    CCardDesk(const WorkerPlace& place, std::shared_ptr<const CJobBoard> board, IEngineHost& host,
              bool afterTrouble = false);

    const CJobBoard& Board() const { return *m_board; }

    // The card's thread. -------------------------------------------------------------------------------------------------
    bool IsClosed() const { return m_closed.load(std::memory_order_acquire); }
    // To be called first.
    void Started();
    // One line in the main log, about this card.
    void Log(const std::string& text);
    // The same for why the card does not hash; said again only when the text has changed. The log is told when it hashes.
    void LogTrouble(const std::string& text);
    void Hashed(std::uint64_t hashes, std::uint64_t solutions);
    void Idle();
    // Nonces that meet, or on the CPU do not meet, the target.
    void Found(const CJobBoard::View& seen, std::uint64_t nonce, const EthashResult& result);
    void HardwareError(std::uint64_t nonce);
    // The thread gets on; it may take so long until the next time, of the time in which the PC is awake.
    void Beat(Clock::duration allowance);
    // Where a running grid looks whether it still matters; null: nowhere.
    void SetGenerationWord(unsigned* word);
    void End(CardEnd end);

    // Both.
    // A running grid is told since when its work is worthless.
    void TellGeneration();

    // The worker. --------------------------------------------------------------------------------------------------------
    void Close();
    // For how long the card has hashed.
    Clock::duration HashedTime();
    // Several times a second: keeps the speed up to date while the thread waits. False when it has waited for longer than it
    // was allowed. The clock goes on while the PC sleeps: what lies between two looks counts for a second at most.
    bool Look(Clock::time_point now);
    // What the thread ended with; nothing when that takes longer.
    std::optional<CardEnd> WaitForEnd(Clock::time_point deadline);

  private:
    void LogLocked(const std::string& text);

    const std::int32_t m_cudaId;
    const std::shared_ptr<const CJobBoard> m_board;

    std::mutex m_lock;  // guards the following
    std::condition_variable m_ended;
    std::atomic<bool> m_closed{false};  // written under the lock
    IEngineHost& m_host;
    CMiningStatistics& m_statistics;
    CSpeedRecorder m_recorder;
    CShareSender m_sender;
    bool m_hashing = false;
    Clock::time_point m_lastHash;
    Clock::duration m_hashed{};
    bool m_inTrouble;
    std::string m_trouble;
    Clock::duration m_allowance{std::chrono::minutes(1)};  // having waited for so long the thread is taken for stuck
    Clock::duration m_waited{};
    Clock::time_point m_lastLook{Clock::now()};
    unsigned* m_generationWord = nullptr;
    std::optional<CardEnd> m_end;
};
