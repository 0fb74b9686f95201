#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include "ethash/cuda/CudaDriverApi.h"

// What a figure is worth nothing without: the card as its driver describes it.
struct CardFacts {
    std::int32_t cudaVersion = 0;  // 12040: the driver is of CUDA 12.4
    std::string driverVersion;     // as people know it; empty: unknown
    std::int32_t capabilityMajor = 0;
    std::int32_t capabilityMinor = 0;
    std::int32_t multiProcessors = 0;
    std::int32_t coreKilohertz = 0;    // at most; 0: the driver does not say
    std::int32_t memoryKilohertz = 0;  // at most; 0: the driver does not say
};

// What the card does at a moment. Absent: the driver does not say.
struct CardSensors {
    std::optional<unsigned> coreMegahertz;
    std::optional<unsigned> memoryMegahertz;
    std::optional<unsigned> milliwatts;
    std::optional<unsigned> limitMilliwatts;
};

// The sensors of one card, by NVML where the driver has it. On one thread.
class CSensorReader {
  public:
    CSensorReader(const CudaDriverApi& api, CudaDevice device);
    ~CSensorReader();
    CSensorReader(const CSensorReader&) = delete;
    CSensorReader& operator=(const CSensorReader&) = delete;

    CardFacts Facts() const;
    CardSensors Read() const;

  private:
    struct Nvml;

    std::int32_t Attribute(CudaAttribute attribute) const;

    const CudaDriverApi& m_api;
    const CudaDevice m_device;
    std::unique_ptr<Nvml> m_nvml;  // null: there is none, or it does not know the card
};
