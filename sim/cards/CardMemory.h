#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>
#include "cards/CardStream.h"
#include "ethash/cuda/CudaDriverApi.h"
#include "ethash/hash/Ethash.h"
#include "ethash/hash/EthashItems.h"
#include "ethash/kernels/KernelParameters.h"

// What a program has done that a driver would not have told it of. Any thread.
class CCardFaults {
  public:
    void Add(std::string text);
    std::vector<std::string> List() const;

  private:
    mutable std::mutex m_lock;
    std::vector<std::string> m_texts;
};

// A use of memory by something that was queued.
struct CardUse {
    CudaAddress begin = 0;
    std::uint64_t bytes = 0;
    bool writes = false;
    bool isGrid = false;
    CCardStream::Point point;
    std::string what;
    bool lasts = true;  // false: the call waits for the end itself
};

// The memory of simulated cards. Small pieces are real; of a large one, which is a dataset, it is only known which items
// were made from which light cache, and they are computed when they are read. Any thread.
class CCardMemory {
  public:
    explicit CCardMemory(CCardFaults& faults) : m_faults(faults) {}

    // mapped: of the host, which reads and writes it whenever it likes.
    CudaAddress Allocate(std::size_t bytes, bool mapped);
    // Waits for what uses it, as the driver does. False: there is no such memory. isDead: nothing that is queued counts.
    bool Free(CudaAddress address, bool isDead);
    std::size_t Count() const;
    std::uint64_t Bytes() const;

    // Something will use it. It is a fault when other work that touches it has not been told to be done and the streams do
    // not order the two. False: there is no such memory.
    bool Use(CardUse use);

    void Write(CudaAddress to, const void* from, std::size_t bytes);
    void Read(void* to, CudaAddress from, std::size_t bytes) const;

    // As the build kernel does it. Light caches: what the words should be, where any are given.
    void MakeItems(const EthashBuildParameters& build, bool spoiled,
                   const std::vector<std::shared_ptr<const CEthashCache>>& lightCaches);
    // What the items of a whole dataset were made from; null, a fault, when they are not all there or not all right.
    std::shared_ptr<const CEthashCache> CacheOf(CudaAddress dataset, std::uint64_t bytes) const;

  private:
    struct Items {
        unsigned count = 0;
        std::shared_ptr<const CEthashCache> cache;
        bool spoiled = false;
    };
    struct Region {
        std::uint64_t bytes = 0;
        bool mapped = false;
        std::vector<std::uint64_t> storage;  // empty: too large to be real
        char* memory = nullptr;              // in it
        std::vector<CardUse> uses;
        std::shared_ptr<const CEthashCache>
            cache;                        // its words as a light cache; null: not asked for since they were written
        std::map<unsigned, Items> items;  // by the first one of each grid
    };
    using Found = std::pair<CudaAddress, std::shared_ptr<Region>>;

    Found FindLocked(CudaAddress address, std::uint64_t bytes) const;
    void CheckLocked(Region& region, const CardUse& use);
    static std::vector<EthashItem> Compute(const Region& region, std::uint32_t first, std::size_t count);

    CCardFaults& m_faults;
    mutable std::mutex m_lock;  // guards the following
    std::map<CudaAddress, std::shared_ptr<Region>> m_regions;
    CudaAddress m_nextLarge = 1ULL << 56;  // where no real memory is
};
