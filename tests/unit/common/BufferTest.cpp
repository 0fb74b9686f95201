#include <gtest/gtest.h>

#include <cstring>

#include "common/Format.h"
#include "common/ScratchBuffer.h"

namespace {

TEST(ScratchBuffer, GrowsAtOnceAndShrinksToTheAverageUseOnTheTwentySixthRelease) {
    CScratchBuffer buffer(64);
    EXPECT_EQ(buffer.Acquire(64).size(), 64u);
    const std::span<char> area = buffer.Acquire(65);
    EXPECT_EQ(area.size(), 128u);
    std::memset(area.data(), 'x', area.size());
    buffer.Acquire(10'000);
    constexpr struct {
        std::size_t used;
        std::size_t before;
        std::size_t after;
    } kRounds[] = {{640, 157 * 64u, 12 * 64u}, {640, 12 * 64u, 12 * 64u}, {0, 12 * 64u, 2 * 64u}};
    for (const auto& round : kRounds) {
        for (int release = 1; release <= 25; ++release)
            buffer.Release(round.used);
        EXPECT_EQ(buffer.Capacity(), round.before);
        buffer.Release(round.used);
        EXPECT_EQ(buffer.Capacity(), round.after);
    }
}

TEST(FormatTo, CutsAndTerminatesWhatDoesNotFit) {
    char text[6] = "*****";
    EXPECT_EQ(FormatTo(std::span(text).first(5), "%d", 1234), 4);
    EXPECT_STREQ(text, "1234");
    EXPECT_EQ(FormatTo(std::span(text).first(4), "%d", 5678), -1);
    EXPECT_STREQ(text, "567");
    EXPECT_EQ(FormatTo(std::span(text).first(0), "%d", 7), -1);
}

}  // namespace
