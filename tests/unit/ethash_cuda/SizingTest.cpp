#include <gtest/gtest.h>

#include <cmath>

#include "ethash/cuda/CudaWorker.h"
#include "ethash/cuda/GridSizer.h"
#include "ethash/cuda/VariantTrial.h"
#include "ethash/kernels/KernelParameters.h"

namespace {

using Seconds = CGridSizer::Duration;

TEST(GridSizer, SettlesAtTenMilliseconds) {
    for (const double speed : {2e6, 60e6, 130e6, 900e6}) {
        CGridSizer sizer(82);
        std::uint32_t nonces = sizer.Nonces(0);
        for (int grid = 0; grid < 20; ++grid) {
            sizer.Ran(nonces, Seconds(nonces / speed));
            EXPECT_LE(sizer.Nonces(0), 2.1 * nonces) << "one step at a time";
            nonces = sizer.Nonces(0);
        }
        EXPECT_NEAR(nonces / speed, 0.010, 0.006);
        EXPECT_EQ(nonces % (82 * kEthashSearchThreads), 0u);
    }
}

TEST(GridSizer, KeepsItsBoundsWhateverIsMeasured) {
    CGridSizer sizer(10);
    for (int grid = 0; grid < 100; ++grid)
        sizer.Ran(1, Seconds(1e6));
    EXPECT_EQ(sizer.Nonces(0), 10u * kEthashSearchThreads);
    for (int grid = 0; grid < 100; ++grid)
        sizer.Ran(~0ULL, Seconds(1e-9));
    EXPECT_GT(sizer.Nonces(0), 1U << 27);
    EXPECT_LE(sizer.Nonces(0), 1U << 28);
    sizer.Ran(0, Seconds(0));
    sizer.Ran(5, Seconds(0));
    EXPECT_GT(sizer.Nonces(0), 1U << 27);
}

TEST(GridSizer, LeavesRoomForTheSolutionsOfAnEasyTarget) {
    const CGridSizer sizer(82);
    for (const std::uint64_t target : {~0ULL, ~0ULL >> 1, ~0ULL >> 5, ~0ULL >> 12}) {
        const double expected = sizer.Nonces(target) * (static_cast<double>(target) / 0x1p64);
        EXPECT_GE(sizer.Nonces(target), 1u);
        EXPECT_LE(expected, kEthashMaxSolutions / 2);
    }
    EXPECT_EQ(sizer.Nonces(~0ULL >> 40), sizer.Nonces(0));
}

TEST(VariantTrial, TheClearlyFastestIsKeptWhateverDisturbs) {
    // Seconds a grid of each variant takes; the card grows slower as it warms up, and one grid lasts an hour.
    const struct {
        double seconds[3];
        unsigned kept;
    } cases[] = {{{0.009, 0.010, 0.010}, 0},   {{0.010, 0.009, 0.010}, 1},   {{0.010, 0.010, 0.009}, 2},
                 {{0.00995, 0.010, 0.010}, 1}, {{0.0098, 0.010, 0.0097}, 2}, {{0.010, 0.010, 0.010}, 1}};
    for (const auto& each : cases) {
        CVariantTrial trial;
        int grids = 0;
        while (!trial.IsDecided() && grids < 1000) {
            const unsigned variant = trial.Current();
            EXPECT_FALSE(trial.Ran((variant + 1) % std::size(kSearchVariants), 1'000'000'000, Seconds(0.001)));  // of before
            const double warmth = 1.05 - 0.05 * std::exp(-++grids / 25.0);
            const bool decided = trial.Ran(variant, 1'000'000, Seconds(grids == 45 ? 3600 : each.seconds[variant] * warmth));
            EXPECT_EQ(decided, trial.IsDecided());
        }
        EXPECT_GE(grids, 3 * 5 * 8);
        EXPECT_EQ(trial.Current(), each.kept) << each.seconds[0];
        EXPECT_FALSE(trial.Ran(trial.Current(), 1, Seconds(100)));
    }
}

TEST(RestartPauses, AreLongerEachTimeUntilTheCardHasHashedWell) {
    using std::chrono::seconds;
    CRestartPauses pauses({});
    const struct {
        seconds hashed, pause;
    } cases[] = {{seconds(0), seconds(5)},   {seconds(599), seconds(30)},  {seconds(1), seconds(120)},
                 {seconds(0), seconds(600)}, {seconds(599), seconds(600)}, {seconds(600), seconds(5)},
                 {seconds(0), seconds(30)},  {seconds(86400), seconds(5)}};
    for (const auto& each : cases)
        EXPECT_EQ(pauses.Next(each.hashed), each.pause);
}

}  // namespace
