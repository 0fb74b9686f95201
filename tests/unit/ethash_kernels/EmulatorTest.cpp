#define QV_EMULATED
#include <gtest/gtest.h>

#include <vector>

#include "ethash_kernels/DeviceBuiltins.h"
#include "gpu_emulator/EmulatedGrid.h"

namespace {

void RunGrid(const std::function<void()>& program, unsigned blocks = 1, unsigned threads = 64) {
    RunEmulatedGrid(program, blocks, threads, {});
}

TEST(Emulator, LanesSeeWhatTheOthersGive) {
    std::vector<unsigned> bySource(128), byMask(128);
    RunGrid(
        [&] {
            const unsigned thread = BlockInGrid() * ThreadsPerBlock() + ThreadInBlock();
            bySource[thread] = ShuffleFrom<8>(1000 + thread, 3 + BlockInGrid());
            byMask[thread] = ShuffleXor(1000 + thread, 2);
        },
        2);
    for (unsigned i = 0; i < 128; ++i) {
        EXPECT_EQ(bySource[i], 1000 + i / 8 * 8 + 3 + i / 64);
        EXPECT_EQ(byMask[i], 1000 + (i ^ 2));
    }
}

TEST(Emulator, ABarrierHoldsEveryWarp) {
    unsigned arrived = 0;
    std::vector<unsigned> seen(64);
    RunGrid([&] {
        AtomicAdd(&arrived, 1);
        SynchronizeBlock();
        seen[ThreadInBlock()] = arrived;
    });
    EXPECT_EQ(seen, std::vector<unsigned>(64, 64));
}

TEST(Emulator, DivergenceIsAnError) {
    const std::function<void()> programs[] = {
        [] {
            if (ThreadInBlock() % 32 != 31) ShuffleXor(0, 1);
        },
        [] {
            if (ThreadInBlock() < 32) SynchronizeBlock();
        },
        [] {
            if (ThreadInBlock() == 5) return SynchronizeBlock();
            ShuffleXor(0, 1);
        },
        [] {
            if (ThreadInBlock() % 2 == 0) {
                ShuffleXor(0, 1);
            } else {
                ShuffleXor(0, 1);
            }
        },
    };
    for (const auto& program : programs)
        EXPECT_THROW(RunGrid(program), CDivergence) << &program - programs;
    unsigned runs = 0;
    RunGrid([&] { ++runs; });
    EXPECT_EQ(runs, 64u);
}

TEST(Emulator, ErrorsReachTheCaller) {
    EXPECT_THROW(RunGrid([] { throw std::out_of_range("of a page"); }), std::out_of_range);
    EXPECT_THROW(RunGrid([] {}, 1, 33), std::invalid_argument);
    EXPECT_THROW(EmulateKernel("ethash_search_3", nullptr, 1, 128), std::invalid_argument);
    EXPECT_THROW(EmulateKernel("ethash_search_2", nullptr, 1, 64), std::invalid_argument);
}

}  // namespace
