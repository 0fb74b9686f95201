#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "common/Format.h"
#include "common/WideString.h"

namespace {

TEST(FormatTo, WideTextIsCutAndTerminated) {
    wchar_t text[6] = L"*****";
    EXPECT_EQ(FormatTo(std::span(text).first(5), L"%s", L"abcd"), 4);
    EXPECT_STREQ(text, L"abcd");
    EXPECT_EQ(FormatTo(std::span(text).first(5), L"%s%s", L"abc", L"defg"), -1);
    EXPECT_STREQ(text, L"abcd");
    EXPECT_EQ(FormatTo(std::span(text).first(1), L"%d", 7), -1);
    EXPECT_STREQ(text, L"");
}

TEST(WideString, FormatsInPlaceOrGrows) {
    CWideString text;
    ASSERT_TRUE(text.AppendFormat(L"%s:%d", L"pool", 4444));
    EXPECT_EQ(text.View(), L"pool:4444");
    const wchar_t* block = text.Text();
    ASSERT_TRUE(text.AppendFormat(L" %I64u", 18446744073709551615ull));
    EXPECT_EQ(text.Text(), block);

    const std::wstring longText(1000, L'x');
    const CWideString before = text;
    ASSERT_TRUE(text.AppendFormat(L"<%s|%5.1f>", longText.c_str(), 2.5));
    EXPECT_EQ(text.View(), L"pool:4444 18446744073709551615<" + longText + L"|  2.5>");
    EXPECT_EQ(before.View(), L"pool:4444 18446744073709551615");
}

TEST(WideString, NarrowArgumentsAreInTheAnsiCodePage) {
    if (GetACP() != 1252) GTEST_SKIP() << "needs code page 1252";
    CWideString text;
    ASSERT_TRUE(text.AppendFormat(L"%S - %S", "Grafikkarte \xFC", "5 \x80"));
    EXPECT_EQ(text.View(), L"Grafikkarte \u00FC - 5 \u20AC");
}

TEST(WideString, FormatsEveryLengthAroundTheEndOfABlock) {
    for (std::size_t length = 40; length < 130; ++length) {
        CWideString text(L"ab");
        const std::wstring part(length, L'y');
        ASSERT_TRUE(text.AppendFormat(L"%s", part.c_str()));
        ASSERT_EQ(text.View(), L"ab" + part);
        ASSERT_EQ(text.Text()[length + 2], L'\0');
        ASSERT_GT(text.Capacity(), text.Length());
    }
}

}  // namespace
