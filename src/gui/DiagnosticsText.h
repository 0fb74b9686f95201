#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>
#include "common/Messages.h"
#include "config/AlgorithmList.h"
#include "config/MinerConfiguration.h"
#include "gui/TimeTextFunction.h"

struct DiagnosticsInput {
    std::wstring version;
    std::wstring system;  // empty: unknown, like the next
    std::wstring driverVersion;
    std::int32_t cudaVersion = 0;  // as the driver gives it: 12040 is 12.4; 0: no driver
    GpuSpan gpus;
    const MinerConfiguration& configuration;
    const CAlgorithmList& algorithms;
    bool mining = false;
    TimeSpan uptime = 0;                 // of mining
    std::vector<std::wstring> messages;  // of the plug-ins, the latest last
    std::vector<std::wstring> events;    // the latest lines of the event log, the latest last
    ControlState controlState = ControlState::Undefined;
    TimeTextFunction dateTimeText;
};

// What a user can send to somebody who helps: plain text in lines ended by CR LF. No password is in it, wallets are
// shortened, also where a pool's answer repeats them. Portable; GUI thread.
std::wstring DiagnosticsText(const DiagnosticsInput& input);

// The first and the last few characters, never more than half of the text.
std::wstring ShortenedWallet(std::wstring_view wallet);
