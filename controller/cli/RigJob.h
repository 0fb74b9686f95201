#pragma once
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "fleet/RigLink.h"
#include "rig/Reports.h"
#include "rig/RigAddress.h"
#include "rig/TroubleList.h"

// How it is known that a rig has obeyed: the answer to another "connect" shows that all before it was read, or it reports
// the state that was asked for.
enum class Confirm { None, Read, Mining, Stopped };

struct RigPlan {
    std::string error;  // not empty: nothing is sent and the rig counts as failed
    std::vector<std::string> lines;
    Confirm confirm = Confirm::None;
    std::string done;  // what to say when it worked
};

enum class WantUpdate { No, WhileMining, Yes };

// One command for many rigs.
struct RigJob {
    WantUpdate update = WantUpdate::No;
    bool troubles = false;  // whether to await those that a rig tells behind its "system" report
    // For a rig that mines then: how long it may take until it hashes; 0: not awaited.
    std::chrono::milliseconds hashWait{0};
    // Called once per rig with its first "system" report; absent: nothing to send.
    std::function<RigPlan(const RigAddress&, const SystemReport&)> plan;
};

// Trouble: the rig did as told, but says what keeps it from hashing, or does not hash.
enum class RigEnd { Good, Trouble, Failed };

struct RigResult {
    RigAddress rig;
    RigEnd end = RigEnd::Failed;
    std::string message;
    std::optional<SystemReport> system;
    std::optional<UpdateReport> update;
    CTroubleList troubles;
    std::string systemLine;  // as received
    std::string updateLine;
};

// Carries the job out on all rigs at once; each has ended after timeout, or after the wait for its hashing. The results come
// in the order of the rigs.
std::vector<RigResult> RunOnRigs(const std::vector<RigAddress>& rigs, const std::string& token,
                                 std::chrono::milliseconds timeout, const RigJob& job);
