#pragma once
#include <string>
#include "common/Clock.h"
#include "config/AlgorithmList.h"
#include "config/MinerConfiguration.h"
#include "pool/StratumHost.h"
#include "support/LogSystem.h"

// What a mining session needs of the program. Outlives every session; GUI thread.
struct MiningContext {
    const CAlgorithmList& algorithms;
    IStratumHost& stratumHost;
    const IClock& clock;
    CBKLogSystem& mainLog;
    std::wstring connectionLogFolder = {};  // ends with a backslash
    bool connectionLog = false;             // each session writes its own log file
};
