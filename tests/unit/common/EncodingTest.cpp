#include <gtest/gtest.h>

#include <array>
#include <vector>
#ifdef _WIN32
#include <windows.h>
#endif

#include "common/CodePage.h"
#include "common/Hex.h"
#include "common/Utf8.h"

namespace {

using namespace std::string_view_literals;

TEST(CodePage, ConvertsBothWays) {
#ifdef _WIN32
    ASSERT_EQ(GetACP(), 1252u);
#endif
    constexpr std::string_view kUtf8 = "M\xC3\xBCnchen \xC2\xA7";
    constexpr std::wstring_view kWide = L"M\u00FCnchen \u00A7";
    std::string bytes = "M\xFCnchen \xA7";
    EXPECT_EQ(NarrowToWide(bytes), kWide);
    EXPECT_EQ(WideToNarrow(kWide), bytes);
    EXPECT_EQ(NarrowToUtf8(bytes), kUtf8);
    EXPECT_EQ(WideToUtf8(kWide), kUtf8);
    EXPECT_EQ(WideToNarrow(L"a\u65E5b"), "a?b");
    for (int value = 1; value < 256; ++value)
        bytes.push_back(static_cast<char>(value));
    bool lossy = false;
    EXPECT_EQ(Utf8ToNarrow(NarrowToUtf8(bytes), &lossy), bytes);
    EXPECT_FALSE(lossy);
    EXPECT_EQ(Utf8ToNarrow("a\xE6\x97\xA5", &lossy), "a?");
    EXPECT_TRUE(lossy);
}

TEST(CodePage, FieldsAreCutAndTerminated) {
    constexpr struct {
        std::string_view text;
        std::size_t capacity;
        std::wstring_view field;
        bool whole;
    } kCases[] = {{"abc", 4, L"abc", true}, {"abcd", 4, L"abc", false}, {"a", 1, L"", false}, {"", 1, L"", true}};
    for (const auto& c : kCases) {
        wchar_t wide[8] = L"*******";
        EXPECT_EQ(NarrowToField(c.text, std::span(wide).first(c.capacity)), c.whole) << c.text;
        EXPECT_EQ(std::wstring_view(wide), c.field);
        EXPECT_EQ(wide[c.capacity], L'*');
        char narrow[8] = "*******";
        EXPECT_EQ(CopyToField(c.text, std::span(narrow).first(c.capacity)), c.whole) << c.text;
        EXPECT_EQ(std::string_view(narrow), WideToNarrow(c.field));
        EXPECT_EQ(narrow[c.capacity], '*');
    }
}

TEST(Utf8, TellsWellFormedTextFromEveryKindOfDamage) {
    for (const std::string_view text :
         {""sv, "plain\0zero"sv, "\xC2\x80\xDF\xBF"sv, "\xE0\xA0\x80\xEF\xBF\xBD"sv, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"sv})
        EXPECT_TRUE(IsValidUtf8(text)) << testing::PrintToString(text);
    constexpr std::string_view kDamaged[] = {// continuation first, cut off, missing
                                             "\x80", "\xC3", "\xE2\x82", "\xC3(",
                                             // overlong
                                             "\xC0\xAF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF",
                                             // surrogate, above 10FFFF
                                             "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF"};
    for (const std::string_view text : kDamaged)
        EXPECT_FALSE(IsValidUtf8(text)) << testing::PrintToString(text);
}

TEST(Utf8, DecodesAndGoesOnAfterDamage) {
    std::string_view text = "\xE2\x82\xAC\xF0\x9F\x98\x80\xC3x";
    for (const std::optional<char32_t> expected :
         {std::optional(U'\x20AC'), std::optional(U'\x1F600'), std::optional<char32_t>(), std::optional(U'x')})
        EXPECT_EQ(TakeUtf8(text), expected);
    EXPECT_TRUE(text.empty());
}

TEST(Hex, EveryByteSurvivesTheRoundTrip) {
    std::vector<std::uint8_t> bytes(256);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i);
    EXPECT_EQ(HexText(bytes).substr(0x9A * 2, 4), "9a9b");
    std::vector<std::uint8_t> back(256);
    EXPECT_EQ(HexDecode(HexText(bytes), back), 256u);
    EXPECT_EQ(back, bytes);
}

TEST(Hex, DecodesLenientlyAndStopsAtTheEndOfTheOutput) {
    constexpr struct {
        std::string_view digits;
        std::size_t count;
        std::array<std::uint8_t, 3> bytes;
    } kCases[] = {{"zz", 1, {0, 0xEE, 0xEE}},      {"g1", 1, {1, 0xEE, 0xEE}},       {"1G", 1, {0x10, 0xEE, 0xEE}},
                  {"aFbE", 2, {0xAF, 0xBE, 0xEE}}, {"123", 1, {0x12, 0xEE, 0xEE}},   {"1", 0, {0xEE, 0xEE, 0xEE}},
                  {":@`/", 2, {0, 0, 0xEE}},       {"123456", 2, {0x12, 0x34, 0xEE}}};
    for (const auto& c : kCases) {
        std::array<std::uint8_t, 3> out = {0xEE, 0xEE, 0xEE};
        EXPECT_EQ(HexDecode(c.digits, std::span(out).first(2)), c.count) << c.digits;
        EXPECT_EQ(out, c.bytes) << c.digits;
    }
    char text[] = ".....";
    EXPECT_EQ(HexEncode(std::array<std::uint8_t, 3>{0x12, 0x34, 0x56}, std::span(text).first(5)), 4u);
    EXPECT_STREQ(text, "1234.");
}

}  // namespace
