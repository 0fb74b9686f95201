#pragma once
#include <mutex>
#include <optional>
#include <string>
#include <vector>
#include "common/Clock.h"
#include "config/PoolEntry.h"
#include "mining/SessionState.h"

// The trouble that lasts now, of all sessions, for those who come and ask. Any thread.
class CTroubleBoard {
  public:
    void Add(const PoolError& error);
    // The one that was added with this code, GPU and text.
    void Remove(const PoolError& error);
    // Why mining was stopped by itself; lasts until it is started again.
    void SetStopped(const PoolError& error);
    // What had been set.
    std::optional<PoolError> ClearStopped();
    std::vector<PoolError> Lasting() const;

  private:
    mutable std::mutex m_lock;
    std::vector<PoolError> m_errors;
    std::optional<PoolError> m_stopped;
};

// Decides which concerns of one session have become trouble: those that last longer than ten seconds, and the certain ones
// at once. Pure; one thread.
class CTroubleWatch {
  public:
    static constexpr TimeSpan kPatience = 10 * kTicksPerSecond;

    struct Change {
        bool began = false;   // false: it is over
        PoolError error;      // as it was told when it began
        TimeSpan lasted = 0;  // of one that is over: since the concern first showed
    };

    // The concerns of this moment, at most one for each GPU and one for the session; to be called about once a second.
    std::vector<Change> Look(const std::vector<Concern>& concerns, const IClock& clock);
    // All that is told is over.
    std::vector<Change> End(const IClock& clock) { return Look({}, clock); }
    // What lasts now.
    std::vector<PoolError> Lasting() const;

  private:
    struct Entry {
        Concern concern;       // as it is now
        TimeSpan since = 0;    // when there was none before
        TimeSpan changed = 0;  // since when its text is this
        std::optional<PoolError> told;
    };
    std::vector<Entry> m_entries;
};

// Narrow text, cut to what an error holds.
PoolError ErrorOf(const Concern& concern, ddt_datetime now);
// What tells others that it has ended.
PoolError OverError(const PoolError& error, ddt_datetime now);
