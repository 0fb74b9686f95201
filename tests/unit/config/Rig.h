#pragma once
#include <array>
#include <string>
#include "config/AlgorithmList.h"
#include "config/LoadReport.h"
#include "config/MinerConfiguration.h"

inline constexpr char kGpuA[] = "000102030405060708090a0b0c0d0e0f";
inline constexpr char kGpuB[] = "ffeeddccbbaa99887766554433221100";
inline constexpr char kAbsentGpu[] = "11111111111111111111111111111111";

// Two GPUs (A, B) and the algorithms 0 "Zero", 2 "Two" and another 2 "Second two".
class CRig {
  public:
    CRig();
    CRig(const CRig&) = delete;
    CRig& operator=(const CRig&) = delete;

    CConfigurationBuilder Builder() const { return {algorithms, gpus, unassignedPool}; }
    // What is built from a document's text; an unparsable one fails the test.
    MinerConfiguration Read(std::string_view xml, CLoadReport& report) const;
    MinerConfiguration Read(std::string_view xml) const;

    QvGpuRecord& A() { return records[0]; }
    QvGpuRecord& B() { return records[1]; }

    std::array<QvGpuRecord, 2> records = {};
    std::array<QvGpuRecord*, 2> gpus = {&records[0], &records[1]};
    CAlgorithmList algorithms;
    PoolPointer unassignedPool;
};

std::string WriteText(const MinerConfiguration& configuration);

// A document of one configuration.
std::string OnePool(const std::string& poolAttributes);
std::string OneConfig(const std::string& configAttributes, const std::string& gpus);
