#include "kernels/EmulatedGrid.h"

#include <algorithm>
#include <map>
#include <memory>
#include <numeric>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "kernels/Fibre.h"

#define QV_EMULATED
#include "ethash/kernels/DeviceBuiltins.h"

namespace {

constexpr unsigned kLanes = 32;

enum class LaneState { Ready, Exchanging, AtBarrier, Ended };

using Additions = std::vector<std::pair<unsigned*, unsigned>>;

struct Lane {
    LaneState state = LaneState::Ready;
    unsigned given = 0;     // to the exchange at which the lane waits
    unsigned received = 0;  // set when that exchange took place
    unsigned source = 0;
    std::source_location where;
    std::exception_ptr error;
    Additions additions;  // that are still to come about
};

void ComeAbout(Additions& additions) {
    for (const auto& [word, value] : std::exchange(additions, {}))
        std::atomic_ref(*word).fetch_add(value);
}

class CBlock {
  public:
    CBlock(const std::function<void()>& program, unsigned blocks, unsigned threads, const DatasetReadHook& hook,
           CTurns& turns)
        : blockCount(blocks), beforeDatasetRead(hook), m_program(program), m_turns(turns), m_lanes(threads) {
        for (unsigned i = 0; i < threads; ++i)
            m_fibres.push_back(std::make_unique<CFibre>());
    }

    void Run(unsigned number) {
        block = number;
        m_shared.clear();
        std::ranges::fill(m_lanes, Lane{});
        for (auto& fibre : m_fibres)
            fibre->Prepare([this] { RunProgram(); });
        while (!RunToBarrier()) {
            for (Lane& each : m_lanes)
                each.state = LaneState::Ready;
        }
        for (const Lane& each : m_lanes)
            m_left.insert(m_left.end(), each.additions.begin(), each.additions.end());
    }

    // After the last block.
    void EndGrid() { ComeAbout(m_left); }

    // Called by the running thread.
    Lane& Current() { return m_lanes[thread]; }
    void Wait(LaneState state) {
        ComeAbout(Current().additions);
        Current().state = state;
        m_fibres[thread]->Suspend();
    }
    void* Shared(unsigned line, std::size_t bytes) {
        auto& memory = m_shared[line];
        constexpr Words4 kGarbage{0xdeadbeef, 0xa5a5a5a5, 0x600df00d, 0x5ca1ab1e};
        if (memory.empty()) memory.assign((bytes + sizeof kGarbage - 1) / sizeof kGarbage, kGarbage);
        return memory.data();
    }

    const unsigned blockCount;
    const DatasetReadHook& beforeDatasetRead;
    unsigned block = 0;
    unsigned thread = 0;  // the one that runs
    unsigned ThreadCount() const { return static_cast<unsigned>(m_lanes.size()); }

  private:
    void RunProgram() {
        Lane& lane = Current();
        try {
            m_program();
        } catch (...) {
            lane.error = std::current_exception();
        }
        lane.state = LaneState::Ended;
    }

    // True when the block has ended.
    bool RunToBarrier() {
        std::vector<unsigned> running(m_lanes.size() / kLanes);
        std::iota(running.begin(), running.end(), 0U);
        while (!running.empty()) {
            const auto warp = running.begin() + static_cast<std::ptrdiff_t>(m_turns.Next(running.size()));
            if (!RunToExchange(*warp * kLanes)) running.erase(warp);
        }
        const LaneState state = m_lanes.front().state;
        if (!AllAre(m_lanes, state)) throw CDivergence("warps of a block that do not come to the same barrier");
        return state == LaneState::Ended;
    }

    // False when the warp has come to a barrier of the block or to its end instead.
    bool RunToExchange(unsigned first) {
        std::vector<unsigned> ready(kLanes);
        std::iota(ready.begin(), ready.end(), first);
        while (!ready.empty()) {
            const auto lane = ready.begin() + static_cast<std::ptrdiff_t>(m_turns.Next(ready.size()));
            thread = *lane;
            ready.erase(lane);
            m_fibres[thread]->Resume();
        }
        const std::span<Lane> warp = std::span(m_lanes).subspan(first, kLanes);
        for (const Lane& each : warp) {
            if (each.error) std::rethrow_exception(each.error);
        }
        const LaneState state = warp.front().state;
        if (!AllAre(warp, state)) throw CDivergence("lanes of a warp that wait at different places");
        if (state != LaneState::Exchanging) return false;
        Exchange(warp);
        return true;
    }

    static void Exchange(std::span<Lane> warp) {
        for (Lane& each : warp) {
            if (each.where.line() != warp.front().where.line()) {
                throw CDivergence("lanes of a warp that exchange values at lines " + std::to_string(each.where.line()) +
                                  " and " + std::to_string(warp.front().where.line()));
            }
            each.received = warp[each.source].given;
            each.state = LaneState::Ready;
        }
    }

    static bool AllAre(std::span<const Lane> lanes, LaneState state) {
        return std::ranges::all_of(lanes, [&](const Lane& each) { return each.state == state; });
    }

    const std::function<void()>& m_program;
    CTurns& m_turns;
    std::vector<Lane> m_lanes;
    Additions m_left;                                  // by the threads of blocks that have ended
    std::map<unsigned, std::vector<Words4>> m_shared;  // by the line that declares the variable
    std::vector<std::unique_ptr<CFibre>> m_fibres;
};

thread_local CBlock* t_block = nullptr;

}  // namespace

void RunEmulatedGrid(const std::function<void()>& program, unsigned blocks, unsigned threadsPerBlock,
                     const DatasetReadHook& beforeDatasetRead, CTurns turns) {
    if (blocks == 0 || threadsPerBlock == 0 || threadsPerBlock % kLanes != 0 || threadsPerBlock > 1024)
        throw std::invalid_argument("size of a grid");
    CBlock block(program, blocks, threadsPerBlock, beforeDatasetRead, turns);
    t_block = &block;
    std::vector<unsigned> waiting(blocks);
    std::iota(waiting.begin(), waiting.end(), 0U);
    while (!waiting.empty()) {
        const auto next = waiting.begin() + static_cast<std::ptrdiff_t>(turns.Next(waiting.size()));
        block.Run(*next);
        waiting.erase(next);
    }
    block.EndGrid();
    t_block = nullptr;
}

unsigned ThreadInBlock() {
    return t_block->thread;
}

unsigned ThreadsPerBlock() {
    return t_block->ThreadCount();
}

unsigned BlockInGrid() {
    return t_block->block;
}

unsigned BlocksInGrid() {
    return t_block->blockCount;
}

void SynchronizeBlock() {
    t_block->Wait(LaneState::AtBarrier);
}

void* SharedMemory(unsigned line, std::size_t bytes) {
    return t_block->Shared(line, bytes);
}

void FenceDevice() {
    ComeAbout(t_block->Current().additions);
}

void AddLater(unsigned* word, unsigned value) {
    t_block->Current().additions.emplace_back(word, value);
}

unsigned ExchangeInWarp(unsigned value, unsigned lane, const std::source_location& where) {
    Lane& current = t_block->Current();
    current.given = value;
    current.source = lane;
    current.where = where;
    t_block->Wait(LaneState::Exchanging);
    return current.received;
}

void BeforeDatasetRead(const void* address, std::size_t bytes) {
    if (t_block->beforeDatasetRead) t_block->beforeDatasetRead(address, bytes);
}
