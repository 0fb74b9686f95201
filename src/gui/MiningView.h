#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include "common/Time.h"
#include "config/PoolEntry.h"
#include "quorvel/plugin.h"

struct MiningJob {
    ddt_datetime time;            // UTC, when it came; unset: unknown
    std::int32_t gpuNumber = -1;  // of the GPU that took it; -1: all
    std::string id;               // narrow; empty: no job yet
};

struct TimedMessage {
    std::wstring text;  // empty: none
    ddt_datetime time;  // UTC; unset: it holds now
};

// One mining session as it is at a moment.
struct MiningSessionView {
    std::optional<PoolRole> role;  // absent: it does not run
    MiningJob job;
    double difficulty = 0.0;  // 0: none received
    std::wstring state;       // what it does now
    TimedMessage message;     // its trouble or its GPU's, which hold now, else its pool's last one
};

// Who asked for mining to be started or stopped.
enum class MiningAsker { Unknown, User, ProgramStart, Controller, Pool, ProgramEnd };

// A GPU that should mine and does not, for longer than a moment, or that the driver does not answer for.
struct GpuTrouble {
    std::int32_t cudaId = -1;
    std::wstring reason;
    bool operator==(const GpuTrouble&) const = default;
};

// Whether what runs earns anything. Sick: nothing does.
enum class MiningHealth { Good, Impaired, Sick };

// What the dialog asks of mining. GUI thread.
class IMiningView {
  public:
    virtual ~IMiningView() = default;
    virtual bool IsRunning() const = 0;
    // The session that mines with the GPU, if there is one.
    virtual std::optional<MiningSessionView> SessionOf(const QvGpuRecord& gpu) const = 0;
    virtual std::vector<GpuTrouble> TroubledGpus() const = 0;
    virtual MiningHealth Health() const = 0;
};
