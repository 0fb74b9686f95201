#pragma once
#include <cstdint>
#include <functional>
#include <random>
#include "ethash/Ethash.h"
#include "ethash_cuda/CudaMemory.h"
#include "ethash_cuda/CudaStream.h"

// The dataset of one epoch in a card's memory. On the context's thread; gone before the context. Throws CCudaError.
class CCudaDataset {
  public:
    // done: from 0 to 1. False: give up.
    using Progress = std::function<bool(double done)>;

    // Bytes of card memory that building takes: dataset, light cache and a margin for the driver's own needs.
    static std::uint64_t MemoryNeeded(const EthashEpoch& epoch);

    explicit CCudaDataset(const CCudaContext& context) : m_context(context), m_stream(context) {}

    // Builds it from the light cache, in the place of the one before, whose memory is given back first. progress is called
    // about every ten milliseconds. False when it gave up: there is no dataset then.
    bool Build(const CEthashCache& cache, const Progress& progress);
    void Drop();

    // How many of so many random items differ from the CPU's.
    unsigned CountWrong(const CEthashCache& cache, unsigned items, std::mt19937_64& random) const;

    bool IsThere() const { return m_memory.Address() != 0; }
    // Of the dataset that is there.
    CudaAddress Address() const { return m_memory.Address(); }
    const EthashEpoch& Epoch() const { return m_epoch; }
    const Hash256& Seed() const { return m_seed; }

  private:
    bool MakeItems(CudaAddress cache, const EthashEpoch& epoch, const Progress& progress);

    const CCudaContext& m_context;
    CCudaStream m_stream;
    CCudaMemory m_memory;
    EthashEpoch m_epoch;
    Hash256 m_seed{};
};

// What a kernel needs to take remainders by this divisor, which is at least 2.
EthashDivisor DivisorOf(std::uint64_t value);
