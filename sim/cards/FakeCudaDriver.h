#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>
#include "ethash/Ethash.h"
#include "ethash_cuda/CudaDriver.h"

// A driver of cards that exist in this program only: memory is host memory, grids run when they are launched. One at a time;
// the members may be changed while it is in use.
class CFakeCudaDriver {
  public:
    CFakeCudaDriver();
    ~CFakeCudaDriver();

    const CudaDriver& Driver() const { return m_driver; }

    // Called instead of the kernels. The default makes the dataset and searches on the CPU, from these caches.
    std::function<void(std::string_view kernel, const void* parameters, unsigned blocks, unsigned threads)> run;
    void Knows(std::shared_ptr<const CEthashCache> cache);
    // What the default does.
    void RunOnCpu(std::string_view kernel, const void* parameters, unsigned blocks);

    // The result of the next calls of a function by its driver name, instead of doing anything; 0 ends that.
    void Fail(const std::string& function, CudaResult result);
    std::atomic<std::uint64_t> freeMemory{1ULL << 40};
    std::atomic<bool> stuck{false};           // what is waited for does not end while set
    std::atomic<unsigned> spoiledBuilds{0};   // so many datasets come out wrong
    std::atomic<bool> wrongSolutions{false};  // each grid reports a nonce that is none

    // What is open, allocated or was called.
    std::size_t Contexts() const;
    std::size_t Allocations() const;
    unsigned Calls(const std::string& function) const;

  private:
    friend struct FakeCudaCalls;
    CudaResult Enter(const char* function);
    std::shared_ptr<const CEthashCache> CacheOfRows(unsigned rows);

    CudaDriverApi m_api;
    CudaDriver m_driver;
    mutable std::mutex m_lock;
    std::map<std::string, CudaResult> m_failing;
    std::map<std::string, unsigned> m_calls;
    std::set<void*> m_contexts;
    std::map<std::uint64_t, std::vector<std::uint64_t>> m_memory;
    std::vector<std::shared_ptr<const CEthashCache>> m_caches;
};
