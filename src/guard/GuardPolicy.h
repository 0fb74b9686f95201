#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>
#include "common/Time.h"

// All on a clock that never jumps and does not count the time that the PC sleeps.
struct GuardTimes {
    TimeSpan pauses[3] = {5 * kTicksPerSecond, 30 * kTicksPerSecond,
                          120 * kTicksPerSecond};  // before a restart; then the last
    TimeSpan silence = 60 * kTicksPerSecond;       // without an answer of its window, until the miner is ended
    TimeSpan startUp = 5 * kTicksPerMinute;        // in which it need not have a window
    TimeSpan hour = 60 * kTicksPerMinute;          // of running well, after which the restarts are forgotten
    std::size_t mostRestarts = 10;                 // within an hour
};

enum class MinerAnswer { Answers, Silent, NoWindow };

enum class GuardStep { Stop, Restart, GiveUp };

struct GuardDecision {
    GuardStep step = GuardStep::Stop;
    TimeSpan pause = 0;        // before the restart
    std::size_t restarts = 0;  // within the last hour, this one included
};

// When a miner that nobody watches is ended and started again. Pure; the present time is passed in.
class CGuardPolicy {
  public:
    explicit CGuardPolicy(const GuardTimes& times = {}) : m_times(times), m_pause(0) {}

    // A miner was started, or found running.
    void Started(TimeSpan now);
    // What its window answered just now. True: it has been silent for so long that it is to be ended.
    bool IsHung(MinerAnswer answer, TimeSpan now);
    // The miner has ended, or could not be started. closed: a person closed it.
    GuardDecision Ended(bool closed, TimeSpan now);

  private:
    const GuardTimes m_times;
    std::size_t m_pause;  // index of the next one
    std::vector<TimeSpan> m_restarts;
    TimeSpan m_started = 0;
    TimeSpan m_lastAnswer = 0;
    bool m_hadWindow = false;
};

enum class GuardCommand { Watch, Install, Remove, Help, Version, Invalid };

struct GuardOptions {
    GuardCommand command = GuardCommand::Watch;
    GuardTimes times;
};

// arguments: without the program's name.
GuardOptions ParseGuardOptions(std::span<const std::wstring> arguments);

extern const wchar_t kGuardUsage[];
