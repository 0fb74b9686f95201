#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>
#include "net/LineFramer.h"

namespace {

TEST(ByteBuffer, GrowsFromTheCapacityToTheNextGranuleStrictlyAbove) {
    struct Case {
        bool terminated;
        std::vector<std::size_t> appends;
        std::size_t capacity;
    };
    // In {10, 10} there was room for both.
    const Case cases[] = {{false, {}, 0},
                          {false, {0}, 0},
                          {false, {1023}, 1024},
                          {false, {1024}, 2048},
                          {false, {10, 10}, 2048},
                          {false, {5000}, 5120},
                          {true, {0}, 1024},
                          {true, {1022}, 1024},
                          {true, {1023}, 2048},
                          {true, {10, 10, 10}, 3072},
                          {false, {900'000, 900'000, 10}, 1'801'216}};
    for (const Case& test : cases) {
        CByteBuffer buffer(1024, test.terminated);
        std::string expected;
        for (const std::size_t size : test.appends) {
            const std::string bytes(size, static_cast<char>('a' + expected.size() % 26));
            ASSERT_TRUE(buffer.Append(bytes));
            expected += bytes;
        }
        EXPECT_EQ(buffer.Capacity(), test.capacity) << "after " << expected.size() << " bytes";
        EXPECT_EQ(std::string_view(buffer.Data(), buffer.Length()), expected);
    }
}

TEST(ByteBuffer, EveryTwentyFifthTrimShrinksToTheHighWaterMark) {
    CByteBuffer buffer;
    const auto useAndTrim = [&buffer](std::size_t size, int times) {
        for (int i = 0; i < times; ++i) {
            buffer.Append(std::string(size, 'x'));
            buffer.Clear();
            buffer.Trim();
        }
    };
    useAndTrim(3000, 24);
    EXPECT_EQ(buffer.Capacity(), 24u * 3072);
    useAndTrim(3000, 1);
    EXPECT_EQ(buffer.Capacity(), 4096u);  // (3000 / 1024 + 2) * 1024
    useAndTrim(10, 25);
    EXPECT_EQ(buffer.Capacity(), 2048u) << "the mark of an earlier period must not count";
}

}  // namespace
