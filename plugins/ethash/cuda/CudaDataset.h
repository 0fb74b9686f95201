#pragma once
#include <cstdint>
#include <functional>
#include <random>
#include <span>
#include <vector>
#include "ethash/cuda/CudaMemory.h"
#include "ethash/cuda/CudaStream.h"
#include "ethash/hash/EthashItems.h"

// The dataset of one epoch in a card's memory, made by grids of so many items. Can be swapped with another. On the context's
// thread; gone before the context. Throws CCudaError.
class CCudaDataset {
  public:
    // done: from 0 to 1. False: give up.
    using Progress = std::function<bool(double done)>;

    // Bytes of card memory that building takes: dataset, light cache and a margin for the driver's own needs.
    static std::uint64_t MemoryNeeded(const EthashEpoch& epoch);

    explicit CCudaDataset(const CCudaContext& context, unsigned itemsPerGrid = 1U << 18)
        : m_context(&context), m_itemsPerGrid(itemsPerGrid) {}

    // Builds it from the light cache, in the place of the one before, whose memory is given back first. progress is called
    // about every ten milliseconds. False when it gave up: there is no dataset then.
    bool Build(const CEthashCache& cache, const Progress& progress);
    void Drop();

    // The grids in which items differ from the CPU's: of the first one every 32nd is compared, of each other one the first,
    // the last and four at random. Some
    // 10,000 items for 280 grids.
    std::vector<unsigned> WrongGrids(const CEthashCache& cache, std::mt19937_64& random) const;
    // Makes these grids anew, from a fresh copy of the light cache. As Build otherwise.
    bool Rebuild(const CEthashCache& cache, std::span<const unsigned> grids, const Progress& progress);
    unsigned Grids() const;
    // How many of so many random items differ from the CPU's.
    unsigned CountWrong(const CEthashCache& cache, unsigned items, std::mt19937_64& random) const;

    bool IsThere() const { return m_memory.Address() != 0; }
    // Of the dataset that is there.
    CudaAddress Address() const { return m_memory.Address(); }
    const EthashEpoch& Epoch() const { return m_epoch; }
    bool IsOf(const EthashEpoch& epoch) const { return IsThere() && m_epoch.epoch == epoch.epoch; }

  private:
    unsigned Items() const;
    unsigned ItemsOf(unsigned grid) const;
    std::vector<std::uint32_t> Samples(unsigned grid, std::mt19937_64& random) const;
    unsigned CountWrong(const CEthashCache& cache, std::span<const std::uint32_t> indices) const;
    void Read(std::uint32_t first, std::span<EthashItem> items) const;

    const CCudaContext* m_context;
    unsigned m_itemsPerGrid;
    CCudaMemory m_memory;
    EthashEpoch m_epoch;
};

// What a kernel needs to take remainders by this divisor, which is at least 2.
EthashDivisor DivisorOf(std::uint64_t value);
