#include <gtest/gtest.h>

#include <cstring>

#include "common/Format.h"
#include "common/ScratchBuffer.h"

namespace {

TEST(ScratchBuffer, GrowsAtOnceInWholeUnits) {
    CScratchBuffer buffer(64);
    EXPECT_EQ(buffer.Acquire(1).size(), 64u);
    EXPECT_EQ(buffer.Acquire(64).size(), 64u);
    const std::span<char> area = buffer.Acquire(65);
    EXPECT_EQ(area.size(), 128u);
    std::memset(area.data(), 'x', area.size());
}

TEST(ScratchBuffer, ShrinksToTheAverageUseOnTheTwentySixthRelease) {
    CScratchBuffer buffer(64);
    buffer.Acquire(10'000);
    for (int release = 1; release <= 25; ++release) {
        buffer.Release(640);
        EXPECT_GE(buffer.Capacity(), 10'000u) << release;
    }
    buffer.Release(640);
    EXPECT_EQ(buffer.Capacity(), (10 + 2) * 64u);

    // The counting starts again: the next shrink needs 26 releases more.
    for (int release = 1; release <= 25; ++release)
        buffer.Release(0);
    EXPECT_EQ(buffer.Capacity(), (10 + 2) * 64u);
    buffer.Release(0);
    EXPECT_EQ(buffer.Capacity(), 2 * 64u);
}

TEST(ScratchBuffer, KeepsABlockThatIsInUse) {
    CScratchBuffer buffer(64);
    buffer.Acquire(640);
    for (int release = 0; release < 60; ++release)
        buffer.Release(600);
    EXPECT_EQ(buffer.Capacity(), 640u);
}

TEST(FormatTo, CutsAndTerminatesWhatDoesNotFit) {
    char text[6] = "*****";
    EXPECT_EQ(FormatTo(std::span(text).first(5), "%d", 1234), 4);
    EXPECT_STREQ(text, "1234");
    EXPECT_EQ(FormatTo(std::span(text).first(5), "%d", 12345), -1);
    EXPECT_STREQ(text, "1234");
    EXPECT_EQ(FormatTo(std::span(text).first(1), "%d", 7), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(FormatTo(std::span(text).first(0), "%d", 7), -1);
}

}  // namespace
