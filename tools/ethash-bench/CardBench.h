#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>
#include "CardSensors.h"
#include "ethash/cuda/CudaDriver.h"
#include "ethash/cuda/CudaSearch.h"
#include "ethash/hash/Ethash.h"

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
    double shareOfReads = 0;      // of random reads / bytes read per hash; 0: those were not measured
    unsigned solutions = 0;       // found, and each verified on the CPU
    unsigned wrongSolutions = 0;  // that the CPU did not agree with
    unsigned lostSolutions = 0;   // counted by the card, which had no room for them
    double expectedSolutions = 0;
    bool plausible = false;     // as many were found as hashes and target let expect; false too where too few are expected
    double processorShare = 0;  // of one CPU core
    CardSensors sensors;        // in the middle of the search
    SwitchTimes jobSwitch;
};

// Random reads of 128 bytes over the dataset, with nothing else to do.
struct ReadsFigures {
    double bytesPerSecond = 0;
    unsigned blocksPerMultiprocessor = 0;  // with which that was reached
    std::string problem;                   // why it was not measured
};

struct EpochFigures {
    EthashEpoch epoch;
    double lightCacheSeconds = 0;
    double datasetSeconds = 0;
    unsigned checkedItems = 0;
    unsigned wrongItems = 0;
    ReadsFigures reads;
    std::vector<SearchFigures> searches;
    std::string problem;  // why it was not measured
};

struct CardFigures {
    std::int32_t cudaId = 0;
    std::string name;
    CardFacts facts;
    double compileSeconds = 0;
    double copyBytesPerSecond = 0;  // read and written, by the driver's copy within the card's memory
    std::vector<EpochFigures> epochs;
    std::string problem;  // why nothing, or no more, was measured
};

struct BenchOrder {
    EthashVariant variant = EthashVariant::Ethash;
    std::vector<EthashEpoch> epochs;
    std::vector<unsigned> variants;  // indices into kSearchVariants
    std::chrono::milliseconds searchTime{30'000};
    std::chrono::milliseconds warmUpTime{2'000};  // before each search, to know its speed
    std::chrono::milliseconds readsTime{1'000};
    std::string ptx;  // other kernels than the plug-in's; empty: those
};

inline constexpr double kBytesPerHash = 64 * 128;

struct BenchListener {
    std::function<void(const std::string& what)> doing;
    std::function<void(const CardFigures& soFar)> measured;  // with every new figure
};

// Measures one card. A failure ends in the figures' problem.
CardFigures MeasureCard(const CudaDriverApi& api, std::int32_t cudaId, const BenchOrder& order,
                        const BenchListener& listener);

// Everything was measured, and nothing that the card computed was wrong.
bool IsSound(const CardFigures& card);
