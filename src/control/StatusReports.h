#pragma once
#include <string>
#include <string_view>
#include "config/MinerConfiguration.h"
#include "config/PoolEntry.h"

// The reports to a controller: each one line of JSON, its line feed included. Any thread; telemetry and counters are read
// while they change, each number whole. Texts are not escaped: what drivers and pools write goes out byte for byte, so that
// a report is as good JSON as they let it be.

// Who the miner is and which GPUs it has. The host name is in the system's ANSI code page; '?' stands for a character that
// it lacks, and for one that would break the line.
std::string SystemReport(std::wstring_view hostName, bool isMining, GpuSpan gpus);
// Telemetry and counters of every GPU.
std::string UpdateReport(bool isMining, GpuSpan gpus);
// One error of a pool. Line ends in its text become spaces: a report is one line, and what a pool writes must not be able to
// pass for a report of its own.
std::string ErrorReport(const PoolError& error);

// "ID":"<32 digits>"
std::string GpuIdText(const QvGpuRecord& gpu);
