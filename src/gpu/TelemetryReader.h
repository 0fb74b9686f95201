#pragma once
#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include "common/Clock.h"
#include "gpu/NvmlApi.h"
#include "gpu/SensorWatch.h"
#include "quorvel/plugin.h"

// Reads the sensors of every GPU on a thread of its own, because a call to the driver of a card that fell off the bus may
// never return. Such a card's thread is left behind and another one goes on with the other cards; what a thread touches
// while it is inside the driver is not freed before it is out again.
class CTelemetryReader {
  public:
    // A GPU's sensors are no longer read, or are again. Called by the reader's thread, or by Request for one that went
    // silent; one call at a time, none after the destructor has returned. It must neither wait for the GUI thread nor
    // call the reader.
    using Changed = std::function<void(const QvGpuRecord& gpu, SensorState state)>;

    // The records and the clock outlive the reader. Where NVML was not available from the beginning nothing is read, and
    // nothing is said about it.
    CTelemetryReader(std::span<QvGpuRecord* const> gpus, std::shared_ptr<INvml> nvml, const IClock& clock, Changed changed);
    // Waits for no thread; none touches a record afterwards.
    ~CTelemetryReader();
    CTelemetryReader(const CTelemetryReader&) = delete;
    CTelemetryReader& operator=(const CTelemetryReader&) = delete;

    // Has all GPUs read once, in the order of the list, and returns at once. To be called every few seconds: it is what
    // notices that a read takes too long. One thread.
    void Request();

    // index: of the GPU in the list. Any thread.
    GpuSensors State(std::size_t index) const;

  private:
    class CWork;
    const std::shared_ptr<CWork> m_work;
};
