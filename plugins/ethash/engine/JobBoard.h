#pragma once
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>
#include "ethash/job/EthashJob.h"
#include "kit/NonceRange.h"

// What the workers hash at the moment.
struct EthashWork {
    EthashJob job;
    const StratumWorkBlock* block = nullptr;  // outlives the workers; read for the credentials only
    void* session = nullptr;
    std::shared_ptr<const CEthashCache> cache;
    std::uint64_t nonceBase = 0;
    std::vector<NonceStart> nonceStarts{};  // of the rig's GPUs, as of the beginning of the search; what is missing is loose
    std::uint64_t searchId = 0;             // equal for two works whose searches are one: only the target differs
    std::uint64_t cleanId = 0;              // equal: solutions of one may be sent while the other hangs on the board
};

// Where the work hangs for the workers to see. Any thread.
class CJobBoard {
  public:
    struct View {
        std::uint64_t generation = 0;
        std::uint64_t clean = 0;                 // what CleanGeneration was then
        std::shared_ptr<const EthashWork> work;  // null: nothing to hash
    };

    // Null: nothing to hash.
    void Publish(std::shared_ptr<const EthashWork> work);
    View Current() const;

    // Changes with each publication; cheap enough to be looked at many times per batch.
    const std::atomic<std::uint64_t>& Generation() const { return m_generation; }

    // The generation of the last publication that made worthless what was hashed before: one of another clean id, or of no
    // work. While it stays, what was begun may be finished.
    const std::atomic<std::uint64_t>& CleanGeneration() const { return m_clean; }

    // Returns when the generation is no longer this one, at the deadline, and at once from a closed board (whose last
    // generation a worker may have seen before it looked whether the board is closed).
    void WaitForChange(std::uint64_t generation, std::chrono::steady_clock::time_point deadline) const;

    // The end: workers return.
    void Close();
    bool IsClosed() const { return m_closed.load(std::memory_order_acquire); }

  private:
    mutable std::mutex m_lock;  // guards m_work and each change of the three below
    mutable std::condition_variable m_changed;
    std::shared_ptr<const EthashWork> m_work;
    std::atomic<std::uint64_t> m_generation{1};
    std::atomic<std::uint64_t> m_clean{1};
    std::atomic<bool> m_closed{false};
};
