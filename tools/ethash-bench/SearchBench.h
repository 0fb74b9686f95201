#pragma once
#include "CardBench.h"

// The open card and what it is measured on.
struct BenchPlace {
    const CCudaContext& context;
    const CCudaDataset& dataset;
    const CEthashCache& cache;
    const CSensorReader& sensors;
};

// Searches as the miner does, for the order's time. Shares of bounds are the caller's. Throws CCudaError, as the others.
SearchFigures MeasureSearch(const BenchPlace& place, const BenchOrder& order, unsigned variant);

// Random reads with as many blocks on a multiprocessor as give the most.
ReadsFigures MeasureReads(const CCudaContext& context, const CCudaDataset& dataset, std::chrono::milliseconds time);
