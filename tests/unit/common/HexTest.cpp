#include "common/Hex.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

TEST(Hex, EveryByteSurvivesTheRoundTrip) {
    std::vector<std::uint8_t> bytes(256);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i);
    const std::string text = HexText(bytes);
    EXPECT_EQ(text.substr(0, 8), "00010203");
    EXPECT_EQ(text.substr(0x9A * 2, 4), "9a9b");

    std::vector<std::uint8_t> back(256);
    EXPECT_EQ(HexDecode(text, back), 256u);
    EXPECT_EQ(back, bytes);
}

TEST(Hex, DecodesLeniently) {
    struct Case {
        std::string_view digits;
        std::vector<std::uint8_t> bytes;
    };
    const Case cases[] = {
        {"zz", {0}}, {"g1", {1}}, {"1G", {0x10}}, {"aFbE", {0xAF, 0xBE}}, {"123", {0x12}}, {"1", {}},
        {"", {}},    {":@", {0}}, {"`/", {0}},
    };
    for (const Case& c : cases) {
        std::array<std::uint8_t, 8> out{};
        const std::size_t count = HexDecode(c.digits, out);
        EXPECT_EQ(std::vector<std::uint8_t>(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(count)), c.bytes)
            << c.digits;
    }
}

TEST(Hex, StopsAtTheEndOfTheOutput) {
    const std::array<std::uint8_t, 3> bytes = {0x12, 0x34, 0x56};
    std::array<char, 5> text = {'.', '.', '.', '.', '.'};
    EXPECT_EQ(HexEncode(bytes, text), 4u);
    EXPECT_EQ(std::string_view(text.data(), text.size()), "1234.");

    std::array<std::uint8_t, 2> out = {0xEE, 0xEE};
    EXPECT_EQ(HexDecode("123456", std::span(out).first(1)), 1u);
    EXPECT_EQ(out[0], 0x12);
    EXPECT_EQ(out[1], 0xEE);
}

}  // namespace
