#pragma once
#include <array>
#include <cstdint>
#include <iterator>
#include <optional>
#include <vector>
#include "ethash/cuda/CudaDataset.h"
#include "kit/NonceRange.h"

// How many hashes each group of lanes keeps in flight: the variants of the search kernel.
inline constexpr unsigned kSearchVariants[] = {2, 4, 8};

struct SearchOrder {
    Hash256 header{};
    Hash256 target{};
    NonceRun nonces;
    unsigned variant = 0;     // index into kSearchVariants
    unsigned generation = 0;  // the grid stops when the generation word has another value: what made the order worthless
};

struct SearchOutcome {
    bool stopped = false;               // before it was through
    std::uint64_t hashes = 0;           // fewer than ordered when the grid was stopped
    std::vector<std::uint64_t> nonces;  // solutions as the card sees them
    unsigned lost = 0;                  // further solutions, for which there was no room
};

// The most significant 64 bits, by which a card compares a hash with a target.
std::uint64_t TopOf(const Hash256& number);

// Searches a card's dataset, two grids at a time so that the card never waits for its thread. On the context's thread but
// for the generation word; gone before the dataset. Throws CCudaError.
class CCudaSearch {
  public:
    static constexpr std::size_t kSlots = 2;

    explicit CCudaSearch(const CCudaContext& context);

    // Any thread writes it (with an atomic store).
    unsigned& GenerationWord() const { return m_generation.Host(); }

    // Queues a grid in a slot that is free. The dataset stays until it has been waited for.
    void Launch(std::size_t slot, const CCudaDataset& dataset, const SearchOrder& order);
    bool IsBusy(std::size_t slot) const { return m_slots[slot]->ordered != 0; }
    // Waits for the grid of a busy slot, which is free then.
    SearchOutcome Wait(std::size_t slot);

  private:
    struct Slot {
        explicit Slot(const CCudaContext& context);
        CMappedValue<EthashSearchResults> results;
        CCudaMemory progress;
        CCudaStream stream;
        unsigned ordered = 0;  // nonces; 0: free
    };

    const CCudaContext& m_context;
    std::array<CudaFunctionObject*, std::size(kSearchVariants)> m_kernels;
    CMappedValue<unsigned> m_generation;
    std::array<std::optional<Slot>, kSlots> m_slots;
};
