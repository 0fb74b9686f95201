#define QV_EMULATED
#include <gtest/gtest.h>

#include <vector>

#include "ethash_kernels/DeviceBuiltins.h"
#include "gpu_emulator/EmulatedGrid.h"

namespace {

void RunGrid(const std::function<void()>& program, unsigned blocks = 1, unsigned threads = 64) {
    RunEmulatedGrid(program, blocks, threads, {});
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

}  // namespace
