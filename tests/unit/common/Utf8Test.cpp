#include "common/Utf8.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_view_literals;

TEST(Utf8, TellsWellFormedTextFromEveryKindOfDamage) {
    struct Case {
        std::string_view text;
        bool valid;
    };
    const Case cases[] = {
        {""sv, true},
        {"plain\0zero"sv, true},
        {"\xC2\x80\xDF\xBF"sv, true},
        {"\xE0\xA0\x80\xEF\xBF\xBD"sv, true},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"sv, true},
        {"\x80"sv, false},  // continuation first
        {"\xC3"sv, false},  // cut off
        {"\xE2\x82"sv, false},
        {"\xC3(", false},       // continuation missing
        {"\xC0\xAF"sv, false},  // overlong
        {"\xE0\x9F\xBF"sv, false},
        {"\xF0\x8F\xBF\xBF"sv, false},
        {"\xED\xA0\x80"sv, false},      // surrogate
        {"\xF4\x90\x80\x80"sv, false},  // above 10FFFF
        {"\xF8\x88\x80\x80\x80"sv, false},
        {"\xFF"sv, false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(IsValidUtf8(c.text), c.valid) << testing::PrintToString(c.text);
}

TEST(Utf8, DecodesAndGoesOnAfterDamage) {
    std::string_view text = "\xE2\x82\xAC\xF0\x9F\x98\x80\xC3x";
    EXPECT_EQ(TakeUtf8(text), U'\x20AC');
    EXPECT_EQ(TakeUtf8(text), U'\x1F600');
    EXPECT_EQ(TakeUtf8(text), std::nullopt);
    EXPECT_EQ(TakeUtf8(text), U'x');
    EXPECT_TRUE(text.empty());
}

}  // namespace
