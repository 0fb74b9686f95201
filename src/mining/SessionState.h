#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include "common/Time.h"
#include "common/TroubleCode.h"
#include "pool/ConnectionStatus.h"

// What a mining session does, told once for all who show or report it. Values and pure functions; times are ticks of
// IClock::Monotonic.

enum class SessionPhase { NotRunning, Resolving, Connecting, LoggingIn, WaitingForJob, Mining, DeveloperTime, TryingAgain };

struct SessionState {
    SessionPhase phase = SessionPhase::NotRunning;
    TimeSpan since = 0;
    std::wstring reason;                           // why it does not run, or what failed last; empty: nothing did
    TroubleCode code = TroubleCode::NotConnected;  // of the reason
    std::wstring target;                           // the host or address that is meant
    ProtocolMode mode = ProtocolMode::None;
    std::int64_t secondsLeft = 0;  // of the developer's time, or until the next attempt
    std::uint32_t failures = 0;    // attempts without a job since the last one
};

// What the state of a session that has a plug-in follows from.
struct SessionFacts {
    ConnectionStatus connection;  // of the user's session
    std::vector<std::wstring> poolNames;
    std::size_t firstPool = 0;  // the one to name first when several failed
    bool developerTime = false;
    TimeSpan developerLeft = 0;
};
SessionState DecideSessionState(const SessionFacts& facts, TimeSpan now);

// In words: "mining at 1.2.3.4:4444", "trying again in 5 s: Connection refused".
std::wstring SessionStateText(const SessionState& state);

struct GpuActivity {
    enum class Kind { Hashing, Preparing, NotHashing };
    Kind kind = Kind::NotHashing;
    int percent = -1;     // of the preparation; -1: not known
    std::wstring reason;  // of one that does not hash: the plug-in's last message about it; empty: there is none
};

// The latest message of a plug-in that concerns a GPU.
struct PlugInMessage {
    std::wstring text;  // without the plug-in's name and "GPU n: "
    TimeSpan time = 0;
};

// message: null when there is none.
GpuActivity DecideGpuActivity(std::uint64_t hashSpeed, const PlugInMessage* message, TimeSpan now);
// "hashing", "preparing (40 %)", "not hashing: <reason>".
std::wstring GpuActivityText(const GpuActivity& activity);

// Something that keeps a session or a GPU from mining, as long as it does. gpu: CUDA id, -1 for the whole session.
struct Concern {
    TroubleCode code = TroubleCode::NotConnected;
    std::int32_t gpu = -1;
    std::wstring text;
    bool isCertain = false;  // nothing that may pass in a moment
    bool operator==(const Concern&) const = default;
};
// Nothing while it mines for a pool that answers, or gives the developer his time.
std::optional<Concern> ConcernOf(const SessionState& state);
std::optional<Concern> ConcernOf(std::int32_t cudaId, const GpuActivity& activity);
