#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include "kit/EngineHost.h"
#include "quorvel/plugin.h"

// What an algorithm brings: the engine of one mining session. One thread calls it, the one of the session's window; none of
// its operations waits for hashing, but Stop for the threads to end.
class IPluginEngine {
  public:
    virtual ~IPluginEngine() = default;
    // The records stay valid until Stop has returned.
    virtual void SetGpus(std::span<QvGpuRecord* const> gpus) = 0;
    virtual void Start() = 0;
    // The work block to follow from now on; it stays valid until Stop has returned.
    virtual void Activate(const StratumWorkBlock* block) = 0;
    // Something in a work block changed; message: 0x2402, 0x2405, 0x2406 or 0x2407, as it came. A block that is not followed
    // is no matter: its message was late.
    virtual void Update(std::uint32_t message, const StratumWorkBlock* block) = 0;
    // Ends all threads; idempotent. Nothing that was handed over is touched afterwards.
    virtual void Stop() = 0;
};

// What makes one plug-in library differ from another.
struct PluginIdentity {
    std::int32_t id;
    const wchar_t* name;     // shown to the user
    const wchar_t* logName;  // begins each log line
    // Called on the thread of the session's window; the host outlives the engine.
    std::function<std::unique_ptr<IPluginEngine>(IEngineHost& host)> makeEngine;
};
