#include "gpu_emulator/EmulatedGrid.h"

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "gpu_emulator/Fibre.h"

#define QV_EMULATED
#include "ethash_kernels/DeviceBuiltins.h"

namespace {

constexpr unsigned kLanes = 32;

enum class LaneState { Ready, Exchanging, AtBarrier, Ended };

struct Lane {
    LaneState state = LaneState::Ready;
    unsigned given = 0;     // to the exchange at which the lane waits
    unsigned received = 0;  // set when that exchange took place
    unsigned source = 0;
    std::source_location where;
    std::exception_ptr error;
};

class CBlock {
  public:
    CBlock(const std::function<void()>& program, unsigned blocks, unsigned threads, const DatasetReadHook& hook)
        : blockCount(blocks), beforeDatasetRead(hook), m_program(program), m_lanes(threads) {
        for (unsigned i = 0; i < threads; ++i)
            m_fibres.push_back(std::make_unique<CFibre>());
    }

    void Run(unsigned number) {
        block = number;
        std::ranges::fill(m_lanes, Lane{});
        for (auto& fibre : m_fibres)
            fibre->Prepare([this] { RunProgram(); });
        while (!RunToBarrier()) {
            for (Lane& each : m_lanes)
                each.state = LaneState::Ready;
        }
    }

    // Called by the running thread.
    Lane& Current() { return m_lanes[thread]; }
    void Wait(LaneState state) {
        Current().state = state;
        m_fibres[thread]->Suspend();
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
        for (unsigned first = 0; first < m_lanes.size(); first += kLanes)
            RunWarp(first);
        const LaneState state = m_lanes.front().state;
        if (!AllAre(m_lanes, state)) throw CDivergence("warps of a block that do not come to the same barrier");
        return state == LaneState::Ended;
    }

    void RunWarp(unsigned first) {
        const std::span<Lane> warp = std::span(m_lanes).subspan(first, kLanes);
        while (true) {
            for (thread = first; thread < first + kLanes; ++thread)
                m_fibres[thread]->Resume();
            for (const Lane& each : warp) {
                if (each.error) std::rethrow_exception(each.error);
            }
            const LaneState state = warp.front().state;
            if (!AllAre(warp, state)) throw CDivergence("lanes of a warp that wait at different places");
            if (state != LaneState::Exchanging) return;
            Exchange(warp);
        }
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
    std::vector<Lane> m_lanes;
    std::vector<std::unique_ptr<CFibre>> m_fibres;
};

thread_local CBlock* t_block = nullptr;

}  // namespace

void RunEmulatedGrid(const std::function<void()>& program, unsigned blocks, unsigned threadsPerBlock,
                     const DatasetReadHook& beforeDatasetRead) {
    if (blocks == 0 || threadsPerBlock == 0 || threadsPerBlock % kLanes != 0 || threadsPerBlock > 1024)
        throw std::invalid_argument("size of a grid");
    CBlock block(program, blocks, threadsPerBlock, beforeDatasetRead);
    t_block = &block;
    for (unsigned i = 0; i < blocks; ++i)
        block.Run(i);
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
