#pragma once
#include <cstdint>
#include <span>
#include <string>

#include "fleet/Fleet.h"

// What the page is told. All rigs that have changed after the given revision; those in detailed with their GPUs and errors.
std::string FleetJson(const CFleet& fleet, std::uint64_t after, std::span<const std::size_t> detailed);

// Steps of one history: hash rates and temperatures, null for a gap.
std::string HistoryJson(const CHistory& history);
