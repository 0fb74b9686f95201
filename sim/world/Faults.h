#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>
#include "common/Time.h"

// What goes wrong in the world, or is done to the rig, at a moment. Values; pure.

enum class FaultKind : std::uint8_t {
    Outage,        // no route to anywhere; what is connected hears nothing any more
    NoNames,       // look-ups fail, or never end
    HalfOpen,      // the connections that there are lead nowhere, and nobody says so
    Reset,         // they are reset, or closed
    SlowNetwork,   // seconds of delay, as of lost packets
    PartialLines,  // what pools send arrives in crumbs
    BlackHole,     // the pool's addresses swallow every attempt
    OneAddress,    // only the first of them does
    Refuse,        // they refuse
    AcceptClose,   // something accepts and closes, as a proxy whose server is gone
    Untrusted,     // the encryption fails
    Maintenance,   // the pool ends every connection and is gone for a while
    LoginRefused,
    LoginSilent,
    NoJob,
    NoAnswers,      // to shares
    Silent,         // to anything, once logged in
    Rejects,        // every share
    WrongAnswers,   // lines that mean nothing
    DoubleAnswers,  // to each share
    Flood,          // of jobs
    Difficulty,
    Extranonce,
    ModeChange,   // the pool speaks another protocol from now on
    InvalidUser,  // the pool does not know the user any more, once
    Hang,         // of a card
    FallOff,
    SlowCard,
    NoMemory,
    StopStart,  // by a person or a controller
    Edit,       // stop, replace the configuration, start
    Close,      // the program, and start it again
    Sleep,
    SetClock,
    PowerCut,
    Kill,        // the process, at any moment
    BusyWindow,  // the window's messages wait
    NoThread,    // a connection's thread cannot be started
    Count
};
inline constexpr std::size_t kFaultKinds = static_cast<std::size_t>(FaultKind::Count);

enum class FaultTarget { None, Pool, Card };

// All that the world knows of a kind without doing it.
struct FaultTraits {
    std::string_view name;
    FaultTarget target;
    double perWeek;
    std::int32_t leastSeconds;  // how long it lasts; 0 and 0: a moment
    std::int32_t mostSeconds;
    // How much longer than otherwise it may take until the rig mines again, because it can be noticed by waiting only.
    std::int32_t allowance;
};
const FaultTraits& TraitsOf(FaultKind kind);
std::optional<FaultKind> FaultNamed(std::string_view name);

inline constexpr int kUserPools = 2;  // primary, backup
inline constexpr int kPools = 4;      // and two of the developer's
inline constexpr int kMostCards = 4;

struct Fault {
    TimeSpan at = 0;
    FaultKind kind = FaultKind::Outage;
    int target = 0;  // a pool or a card
    TimeSpan lasts = 0;
    std::uint32_t value = 0;  // which of its variants
};

// Those of a run, by time. without: kinds that are switched off.
std::vector<Fault> PlanFaults(std::uint64_t seed, TimeSpan length, const std::set<FaultKind>& without);

// One fault as a line of a case: "fault <seconds> <name> <target> <seconds> <value>", and back.
std::string FaultLine(const Fault& fault);
std::optional<Fault> ParseFaultLine(const std::string& line);

// What lasts now.
class CConditions {
  public:
    void Begin(FaultKind kind, int target) { ++Count(kind, target); }
    void End(FaultKind kind, int target) { --Count(kind, target); }
    bool Is(FaultKind kind, int target = 0) const {
        return m_counts[static_cast<std::size_t>(kind)][static_cast<std::size_t>(target)] > 0;
    }

  private:
    int& Count(FaultKind kind, int target) {
        return m_counts[static_cast<std::size_t>(kind)][static_cast<std::size_t>(target)];
    }
    std::array<std::array<int, kPools>, kFaultKinds> m_counts = {};
};
