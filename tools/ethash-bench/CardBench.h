#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>
#include "ethash/Ethash.h"
#include "ethash_cuda/CudaDriver.h"
#include "ethash_cuda/CudaSearch.h"

// What is measured on one card. Times in seconds, speeds in hashes per second, bandwidths in bytes per second.

struct SwitchTimes {
    unsigned count = 0;
    double median = 0;  // from the change of the generation word until the card has stopped
    double longest = 0;
};

struct SearchFigures {
    unsigned hashesInFlight = 0;
    double seconds = 0;
    double hashesPerSecond = 0;
    double shareOfBound = 0;      // of copy bandwidth / bytes read per hash
    unsigned solutions = 0;       // found, and each verified on the CPU
    unsigned wrongSolutions = 0;  // that the CPU did not agree with
    double processorShare = 0;    // of one CPU core
    SwitchTimes jobSwitch;
};

struct EpochFigures {
    EthashEpoch epoch;
    double lightCacheSeconds = 0;
    double datasetSeconds = 0;
    unsigned checkedItems = 0;
    unsigned wrongItems = 0;
    std::vector<SearchFigures> searches;
    std::string problem;  // why it was not measured
};

struct CardFigures {
    std::int32_t cudaId = 0;
    std::string name;
    double compileSeconds = 0;
    double copyBytesPerSecond = 0;  // read and written, by the driver's copy within the card's memory
    std::vector<EpochFigures> epochs;
    std::string problem;  // why nothing, or no more, was measured
};

struct BenchOrder {
    EthashVariant variant = EthashVariant::Ethash;
    std::vector<std::uint32_t> epochs;  // counted in 30,000 blocks
    std::vector<unsigned> variants;     // indices into kSearchVariants
    std::chrono::seconds searchTime{30};
};

inline constexpr double kBytesPerHash = 64 * 128;

// Measures one card; says on the way what it does. A failure ends in the figures' problem.
CardFigures MeasureCard(const CudaDriverApi& api, std::int32_t cudaId, const BenchOrder& order,
                        const std::function<void(const std::string&)>& say);
