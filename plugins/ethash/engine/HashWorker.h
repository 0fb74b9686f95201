#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include "ethash/engine/JobBoard.h"
#include "kit/EngineHost.h"
#include "quorvel/plugin.h"

// Hashes in the name of one GPU record: takes the work that hangs on the board, its part of the nonces, sends what it finds
// and keeps the record's statistics. Works from its construction on; its destruction, for which the board must have been
// closed, ends that, and from then on nothing that it was given is touched.
class IHashWorker {
  public:
    virtual ~IHashWorker() = default;
};

// Where a worker stands. part of parts: its place among the workers that divide the nonces.
struct WorkerPlace {
    QvGpuRecord& gpu;
    std::uint32_t part;
    std::uint32_t parts;
};

// The engine that hashes: on the CPU, or on the GPU itself. host outlives the worker.
using WorkerMaker = std::function<std::unique_ptr<IHashWorker>(
    const WorkerPlace& place, const std::shared_ptr<const CJobBoard>& board, IEngineHost& host)>;

// How a library hashes.
struct HashingKind {
    WorkerMaker makeWorker;
    bool preparesNextEpoch = false;             // its light cache is made ahead, so that the change costs no time
    std::function<void()> afterStop = nullptr;  // called when an engine goes: what would hold its stop up
};
