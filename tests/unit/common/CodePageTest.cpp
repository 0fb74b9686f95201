#include "common/CodePage.h"

#include <gtest/gtest.h>
#ifdef _WIN32
#include <windows.h>
#endif

namespace {

// The texts below need a western code page; the portable double always has one.
bool HasWesternCodePage() {
#ifdef _WIN32
    return GetACP() == 1252;
#else
    return true;
#endif
}

constexpr std::string_view kNarrow = "M\xFCnchen \xE9";
constexpr std::wstring_view kWide = L"M\u00FCnchen \u00E9";
constexpr std::string_view kUtf8 = "M\xC3\xBCnchen \xC3\xA9";

TEST(CodePage, ConvertsBothWays) {
    if (!HasWesternCodePage()) GTEST_SKIP() << "needs code page 1252";
    EXPECT_EQ(NarrowToWide(kNarrow), kWide);
    EXPECT_EQ(WideToNarrow(kWide), kNarrow);
    EXPECT_EQ(NarrowToUtf8(kNarrow), kUtf8);
    EXPECT_EQ(WideToUtf8(kWide), kUtf8);
    bool lossy = false;
    EXPECT_EQ(Utf8ToNarrow(kUtf8, &lossy), kNarrow);
    EXPECT_FALSE(lossy);
    EXPECT_EQ(WideToNarrow(L""), "");
    EXPECT_EQ(NarrowToWide(""), L"");
}

TEST(CodePage, ACharacterOutsideOfItKeepsTheLengthAndIsReported) {
    if (!HasWesternCodePage()) GTEST_SKIP() << "needs code page 1252";
    EXPECT_EQ(WideToNarrow(L"a\u65E5b"), "a?b");
    bool lossy = false;
    EXPECT_EQ(Utf8ToNarrow("a\xE6\x97\xA5", &lossy), "a?");
    EXPECT_TRUE(lossy);
    EXPECT_EQ(Utf8ToNarrow("a\xE6\x97\xA5", nullptr), "a?");
}

TEST(CodePage, EveryByteSurvivesTheWayToUtf8AndBack) {
    if (!HasWesternCodePage()) GTEST_SKIP() << "needs code page 1252";
    std::string bytes;
    for (int value = 1; value < 256; ++value)
        bytes.push_back(static_cast<char>(value));
    bool lossy = false;
    EXPECT_EQ(Utf8ToNarrow(NarrowToUtf8(bytes), &lossy), bytes);
    EXPECT_FALSE(lossy);
}

TEST(CodePage, FieldsAreCutAndTerminated) {
    struct Case {
        std::string_view text;
        std::size_t capacity;
        std::wstring_view field;
        bool whole;
    };
    const Case cases[] = {
        {"abc", 4, L"abc", true}, {"abcd", 4, L"abc", false}, {"", 4, L"", true}, {"a", 1, L"", false}, {"", 1, L"", true},
    };
    for (const Case& c : cases) {
        wchar_t wide[8] = L"*******";
        EXPECT_EQ(NarrowToField(c.text, std::span(wide).first(c.capacity)), c.whole) << c.text;
        EXPECT_EQ(std::wstring_view(wide), c.field);
        EXPECT_EQ(wide[c.capacity], L'*');

        wchar_t copied[8] = L"*******";
        EXPECT_EQ(CopyToField(NarrowToWide(c.text), std::span(copied).first(c.capacity)), c.whole) << c.text;
        EXPECT_EQ(std::wstring_view(copied), c.field);

        char narrow[8] = "*******";
        EXPECT_EQ(CopyToField(c.text, std::span(narrow).first(c.capacity)), c.whole) << c.text;
        EXPECT_EQ(std::string_view(narrow), WideToNarrow(c.field));
        EXPECT_EQ(narrow[c.capacity], '*');
    }
}

}  // namespace
