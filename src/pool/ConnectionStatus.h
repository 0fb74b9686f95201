#pragma once
#include <cstdint>
#include <string>
#include <vector>
#include "common/Time.h"
#include "common/TroubleCode.h"
#include "pool/ProtocolMode.h"

enum class ConnectionPhase {
    Idle,  // no connection is wanted, or none was begun yet
    Resolving,
    Connecting,
    LoggingIn,
    WaitingForJob,  // logged in
    Working,        // has a job of this connection
    TryingAgain     // later
};

// What went wrong with a pool last, in words for a user; narrow text.
struct ConnectionFailure {
    TroubleCode code = TroubleCode::NotConnected;
    std::string text;  // empty: nothing since the last job
    bool operator==(const ConnectionFailure&) const = default;
};

// What one pool session does now. A value; times are ticks of IClock::Monotonic.
struct ConnectionStatus {
    ConnectionPhase phase = ConnectionPhase::Idle;
    TimeSpan since = 0;
    ProtocolMode mode = ProtocolMode::None;       // while logging in and after
    std::string target;                           // the host that is looked up, or the address in use; narrow text
    TimeSpan retryAt = 0;                         // while trying again
    std::uint32_t failures = 0;                   // attempts without a job since the last one
    ConnectionFailure doubt;                      // of a pool that gives jobs and was dropped for giving nothing else
    std::vector<ConnectionFailure> poolFailures;  // by pool index
};
