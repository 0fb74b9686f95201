#pragma once
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>
#include "common/Time.h"

// The job that a session works on, for those who show it.
struct JobInfo {
    ddt_datetime time;  // UTC, when it came; unset: there is no job
    std::string id;     // narrow, as the pool wrote it
};

// Written by one thread, read by any other; the writer never waits. A reader that is overtaken reads again.
class CCurrentJob {
  public:
    void Set(std::string_view id, ddt_datetime time) noexcept;  // an id beyond 127 bytes is cut
    void Clear() noexcept { Set({}, {}); }
    JobInfo Get() const;

  private:
    static constexpr std::size_t kWords = 16;  // 128 bytes of the id

    std::atomic<std::uint32_t> m_sequence = 0;  // odd while the words change
    std::atomic<std::int64_t> m_time = 0;
    std::array<std::atomic<std::uint64_t>, kWords> m_id = {};
};

// The shares of one pool session that wait: found between a reconnection and the login, for the pool to give the job again;
// sent, for the pool's answer. Times are ticks of IClock::Monotonic. Any thread; the lock is held for a few words only.
class CShareDesk {
  public:
    static constexpr TimeSpan kLongestHold = 5 * kTicksPerSecond;
    static constexpr std::size_t kMostHeld = 64;
    static constexpr std::size_t kUnansweredMost = 3;
    static constexpr TimeSpan kAnswerTime = kTicksPerMinute;

    // The request id of a share, which names its GPU; 0 when it is not found.
    static std::uint32_t RequestId(std::string_view request);
    static std::int32_t GpuOf(std::uint32_t id) { return static_cast<std::int32_t>(id >> 16) - 1; }

    // False: too many wait already.
    bool Hold(std::string_view request, TimeSpan now);
    bool HoldsAny() const;
    // Takes those out that name the job (it stands in quotes in the request) and are not too old: they may be sent now.
    // The others stay, for Expire.
    std::vector<std::string> TakeSendable(std::string_view jobId, TimeSpan now);
    // Takes those out that have waited for too long, or all; the GPUs that found them.
    std::vector<std::int32_t> Expire(TimeSpan now);
    std::vector<std::int32_t> ExpireAll();

    void Sent(std::uint32_t id, TimeSpan now);
    void Answered(std::uint32_t id);
    void ForgetSent();
    // Several shares wait for longer than any pool takes.
    bool AreUnanswered(TimeSpan now) const;

  private:
    struct Held {
        std::string request;
        TimeSpan since;
    };
    struct Pending {
        std::uint32_t id;
        TimeSpan since;
    };
    static constexpr std::size_t kMostPending = 256;

    std::vector<std::int32_t> TakeOlderThan(TimeSpan moment);

    mutable std::mutex m_lock;
    std::vector<Held> m_held;
    std::vector<Pending> m_pending;
};
