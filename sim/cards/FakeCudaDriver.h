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
#include <thread>
#include <vector>
#include "cards/CardMemory.h"
#include "cards/CardStream.h"
#include "ethash/cuda/CudaDriver.h"

// A driver of cards that exist in this program only. As with a real one a call hands work over and comes back: each stream
// does its work on a thread of its own, later; a copy of the null stream has read its source by then, but not written. What
// is not waited for is really not there yet, and what only luck orders is a fault, however it went this time. One object at
// a time; the members may be changed while it is in use.
class CFakeCudaDriver {
  public:
    CFakeCudaDriver();
    ~CFakeCudaDriver();

    const CudaDriver& Driver() const { return m_driver; }
    const CudaDriverApi& Api() const { return m_api; }

    // Called instead of the kernels. The default makes the dataset and searches on the CPU.
    std::function<void(std::string_view kernel, const void* parameters, unsigned blocks, unsigned threads)> run;
    // What the default does.
    void RunOnCpu(std::string_view kernel, const void* parameters, unsigned blocks);
    // With any, a dataset that is made from other words is a fault.
    void Knows(std::shared_ptr<const CEthashCache> cache);

    // The result of the next calls of a function by its driver name, instead of doing anything; 0 ends that. One of 700 or
    // more is the end of the calling thread's context.
    void Fail(const std::string& function, CudaResult result);
    std::atomic<std::uint64_t> freeMemory{1ULL << 40};
    std::atomic<bool> stuck{false};               // what is waited for does not end while set
    std::atomic<unsigned> spoiledBuilds{0};       // so many build grids come out wrong
    std::atomic<std::int64_t> spoiledRegion{-1};  // the next grid that builds this item comes out wrong
    std::atomic<bool> wrongSolutions{false};      // each grid reports nonces that are none

    // The device of the calling thread's context; 0 without one.
    CudaDevice CurrentDevice() const;
    // What is open, allocated or was called.
    std::size_t Contexts() const;
    std::size_t Allocations() const { return m_memory.Count(); }
    std::uint64_t AllocatedBytes() const { return m_memory.Bytes(); }
    unsigned Calls(const std::string& function) const;
    // How many streams got grids that search, and how many grids ran at once.
    std::size_t SearchStreams() const;
    unsigned LargestOverlap() const { return m_largestOverlap; }
    // Grids handed to a stream before anybody knew that its grid before had ended: such a queue cannot be stopped.
    unsigned GridsBehindOthers() const { return m_behindOthers; }
    // Each once, in words.
    std::vector<std::string> Faults() const { return m_faults.List(); }

  private:
    friend struct FakeCudaCalls;
    struct Context {
        CudaDevice device = 0;
        std::vector<std::shared_ptr<CCardStream>> streams;  // the null stream first; those destroyed, too
        std::atomic<bool> dead{false};
    };
    struct Event {
        bool blocks = false;
        CCardStream::Point point;
    };
    using StreamPointer = std::shared_ptr<CCardStream>;

    CudaResult Enter(const char* function);
    Context* CurrentLocked() const;
    bool IsDead() const;
    CudaResult Die(CudaResult result);
    StreamPointer Find(CudaStreamObject* stream) const;
    std::vector<CCardStream::Point> After(const CCardStream& stream) const;
    CCardStream::Point Next(const StreamPointer& stream) const { return {stream, stream->Queued() + 1}; }
    void QueueOn(const StreamPointer& stream, bool isGrid, CCardStream::Delay delay, std::function<void()> work);
    CudaResult Store(const char* function, CudaAddress to, std::vector<std::uint8_t> bytes, CudaStreamObject* stream);
    CudaResult Launch(std::string_view kernel, const void* parameters, unsigned blocks, unsigned threads,
                      CudaStreamObject* stream);
    std::vector<CardUse> UsesOf(std::string_view kernel, const void* parameters, unsigned blocks) const;
    void RunGrid(std::string_view kernel, const void* parameters, unsigned blocks, unsigned threads);
    void Build(const EthashBuildParameters& build);
    void Search(const EthashSearchParameters& search, unsigned blocks);

    CudaDriverApi m_api;
    CudaDriver m_driver;
    CCardFaults m_faults;
    CCardMemory m_memory{m_faults};
    std::atomic<unsigned> m_running{0}, m_largestOverlap{0}, m_behindOthers{0};
    mutable std::mutex m_lock;  // guards the following
    std::map<std::string, CudaResult> m_failing;
    std::map<std::string, unsigned> m_calls;
    std::vector<std::shared_ptr<const CEthashCache>> m_caches;
    std::map<void*, Event> m_events;
    std::map<void*, StreamPointer> m_streams;
    std::set<StreamPointer> m_searchStreams;
    std::map<std::thread::id, Context*> m_current;
    std::map<void*, std::unique_ptr<Context>> m_contexts;
};
