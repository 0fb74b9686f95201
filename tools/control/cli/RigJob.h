#pragma once
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "../Reports.h"
#include "../RigAddress.h"
#include "../RigLink.h"

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
    // Called once per rig with its first "system" report; absent: nothing to send.
    std::function<RigPlan(const RigAddress&, const SystemReport&)> plan;
};

struct RigResult {
    RigAddress rig;
    bool good = false;
    std::string message;
    std::optional<SystemReport> system;
    std::optional<UpdateReport> update;
    std::string systemLine;  // as received
    std::string updateLine;
};

// Carries the job out on all rigs at once; each has ended after timeout. The results come in the order of the rigs.
std::vector<RigResult> RunOnRigs(const std::vector<RigAddress>& rigs, const std::string& token,
                                 std::chrono::milliseconds timeout, const RigJob& job);
