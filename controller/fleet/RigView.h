#pragma once
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "fleet/History.h"
#include "fleet/RigLink.h"
#include "rig/Reports.h"
#include "rig/RigAddress.h"
#include "rig/TroubleList.h"

// What is known of one rig.
struct RigView {
    RigAddress address;
    LinkState link = LinkState::Down;
    std::string reason;                  // why it is down
    std::optional<SystemReport> system;  // the latest, also of a rig that is down now
    std::optional<UpdateReport> update;
    std::chrono::steady_clock::time_point updateTime;
    CTroubleList troubles;           // what lasts; empty while the rig is down
    std::deque<ErrorReport> errors;  // of pools, each an event of a moment; newest first
    std::uint64_t errorCount = 0;
    std::uint64_t reports = 0;
    std::uint64_t badLines = 0;
    std::uint64_t connects = 0;
    std::uint64_t revision = 0;  // of the fleet when this rig last changed
    CHistory history;

    bool IsUp() const { return link == LinkState::Up; }
    MiningStatus Status() const;
    RigState State() const;
    // The update report while it says what is so now: the rig is up and sent it not long ago.
    const UpdateReport* Fresh(std::chrono::steady_clock::time_point now) const;
};

inline constexpr std::chrono::seconds kFreshFor{15};
inline constexpr std::size_t kKeptErrors = 8;

struct RigSums {
    std::size_t gpus = 0;
    std::optional<double> hashRate;     // while mining
    std::optional<double> temperature;  // of the hottest GPU
    std::optional<double> power;        // watts, of the GPUs that say
    std::uint64_t accepted = 0;
    std::uint64_t stale = 0;
    std::uint64_t rejected = 0;
};
RigSums SumsOf(const RigView& rig, std::chrono::steady_clock::time_point now);

struct FleetSums {
    std::size_t rigs = 0;
    std::size_t up = 0;
    std::size_t mining = 0;   // that are in the state of that name
    std::size_t trouble = 0;  // with any trouble that lasts, also of one GPU or while stopped
    RigSums all;
};
FleetSums SumsOf(const std::vector<const RigView*>& rigs, std::chrono::steady_clock::time_point now);
