#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>
#include "common/Clock.h"
#include "config/AlgorithmList.h"
#include "config/MinerConfiguration.h"
#include "mining/PlugInMessages.h"
#include "mining/TroubleWatch.h"
#include "pool/PoolAccess.h"
#include "pool/StratumHost.h"
#include "support/Event.h"
#include "support/LogSystem.h"

// What a mining session needs of the program. Outlives every session; GUI thread.
struct MiningContext {
    const CAlgorithmList& algorithms;
    IStratumHost& stratumHost;
    const IClock& clock;
    CBKLogSystem& mainLog;
    IEventSink& events;
    CTroubleBoard& troubles;  // what lasts now, of all sessions
    CPlugInMessages& plugInMessages;
    std::wstring connectionLogFolder = {};  // ends with a backslash
    bool connectionLog = false;             // each session writes its own log file
    // The developer's pools for a primary pool of that algorithm, in the order in which they are tried.
    std::function<std::vector<PoolPointer>(std::int32_t algorithmId)> feePools = {};
    PingFunction ping = {};  // called on a thread of its own, which may outlive the session
};
