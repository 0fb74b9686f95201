#define QV_EMULATED
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "SmallEpoch.h"
#include "ethash/kernels/DeviceBuiltins.h"
#include "kernels/EmulatedGrid.h"

namespace {

void RunGrid(const std::function<void()>& program, CTurns turns = CTurns::Ascending()) {
    RunEmulatedGrid(program, 1, 64, {}, turns);
}

// What every test of a kernel rests on: what a barrier is to hold it holds, and without one the order shows.
TEST(Emulator, OnlyBarriersHideTheOrder) {
    for (const auto& [order, turns] : kAllTurns) {
        SCOPED_TRACE(order);
        unsigned arrived = 0;
        std::vector<unsigned> before(64), after(64);
        RunGrid(
            [&] {
                before[ThreadInBlock()] = arrived;
                WholeWarp();
                if (AtomicAdd(&arrived, 1) == 63) AtomicAdd(&arrived, 100);  // comes about at the barrier
                SynchronizeBlock();
                after[ThreadInBlock()] = arrived;
            },
            turns);
        EXPECT_EQ(after, std::vector<unsigned>(64, 164));
        EXPECT_EQ(std::ranges::is_sorted(before), order == std::string("ascending"));
        EXPECT_EQ(std::ranges::is_sorted(before, std::greater()), order == std::string("descending"));
        EXPECT_EQ(std::set(before.begin(), before.end()).size(), 64u);
    }
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
