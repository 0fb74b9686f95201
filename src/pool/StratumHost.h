#pragma once
#include <cstdint>
#include <string>
#include "config/PoolError.h"
#include "quorvel/plugin.h"

// What a stratum session needs of its surroundings. Every operation is called on the session's I/O thread (DefaultWorkerName
// also on the GUI thread), must not block and must not wait for the GUI.
class IStratumHost {
  public:
    virtual ~IStratumHost() = default;
    // The counters of the GPU with that CUDA id, or null.
    virtual CMiningStatistics* FindStatistics(std::int32_t cudaId) = 0;
    // A pool error was recorded: for the controller, when one is connected.
    virtual void PoolErrorHappened(const PoolError& error) = 0;
    // Asks the main window to stop mining: the pool refused the user, or no protocol mode worked. reason: for the user,
    // narrow text.
    virtual void RequestStopMining(const std::string& reason) = 0;
    virtual std::wstring DefaultWorkerName() = 0;
};
