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
    EXPECT_EQ(FormatTo(std::span(text).first(4), L"%s%s", L"xyz", L"defg"), -1);
    EXPECT_STREQ(text, L"xyz");
}

TEST(WideString, FormatsEveryLengthAroundTheEndOfABlock) {
    for (std::size_t length = 40; length < 130; ++length) {
        CWideString text(L"ab");
        const CWideString before = text;
        const std::wstring part(length, L'y');
        ASSERT_TRUE(text.AppendFormat(L"%s|%I64u", part.c_str(), 18446744073709551615ull));
        ASSERT_EQ(text.View(), L"ab" + part + L"|18446744073709551615");
        ASSERT_EQ(text.Text()[text.Length()], L'\0');
        ASSERT_GT(text.Capacity(), text.Length());
        ASSERT_EQ(before.View(), L"ab");
    }
}

TEST(WideString, NarrowArgumentsAreInTheAnsiCodePage) {
    ASSERT_EQ(GetACP(), 1252u);
    CWideString text;
    ASSERT_TRUE(text.AppendFormat(L"%S - %S", "Grafikkarte \xFC", "5 \x80"));
    EXPECT_EQ(text.View(), L"Grafikkarte \u00FC - 5 \u20AC");
}

}  // namespace
