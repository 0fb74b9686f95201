#pragma once
#include <optional>
#include <string_view>

#include "rig/Reports.h"

inline constexpr std::size_t kMaxReportBytes = std::size_t{256} * 1024;  // a rig with 256 GPUs stays below it
inline constexpr std::size_t kMaxReportGpus = 256;

// One line without its line feed. Nothing: it is not a report. GPUs without a proper ID are left out. An "errorinfo" whose
// text breaks the JSON (the miner does not escape it) is read all the same.
std::optional<Report> ParseReport(std::string_view line);
