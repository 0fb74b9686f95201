// The code page conversions where a character takes one or two bytes: run with a Japanese locale (code page 932).
#include <gtest/gtest.h>
#include <windows.h>

#include "common/CodePage.h"
#include "common/WideString.h"

namespace {

constexpr std::string_view kNarrow = "\x93\xFA\x96\x7B\x8C\xEA";  // the three characters of kWide
constexpr std::wstring_view kWide = L"\u65E5\u672C\u8A9E";

class DoubleByte : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(GetACP(), 932u); }
};

TEST_F(DoubleByte, NarrowTextHasAtMostOneBytePerCharacterAndNoHalves) {
    constexpr std::pair<std::wstring_view, std::string_view> kCases[] = {
        {kWide, "\x93\xFA"}, {L"a\u65E5\u672C", "a\x93\xFA"}, {L"\u65E5", ""}, {L"abc", "abc"}};
    for (const auto& [wide, narrow] : kCases)
        EXPECT_EQ(WideToNarrow(wide), narrow);
}

TEST_F(DoubleByte, AFieldTakesWholeCharacters) {
    wchar_t field[4];
    EXPECT_TRUE(NarrowToField(kNarrow, field));
    EXPECT_EQ(std::wstring_view(field), kWide);
    EXPECT_FALSE(NarrowToField(std::string(kNarrow) + "A", field));
    EXPECT_EQ(std::wstring_view(field), kWide);
    EXPECT_FALSE(NarrowToField(kNarrow, std::span(field).first(2)));
    EXPECT_EQ(std::wstring_view(field), kWide.substr(0, 1));
}

TEST_F(DoubleByte, GoesToUtf8AndWideTextAndBack) {
    bool lossy = false;
    CWideString text;
    ASSERT_TRUE(text.AppendFormat(L"%S", std::string(kNarrow).c_str()));
    EXPECT_EQ(text.View(), kWide);
    EXPECT_EQ(NarrowToUtf8(kNarrow), WideToUtf8(kWide));
    EXPECT_EQ(Utf8ToNarrow(WideToUtf8(kWide), &lossy), kNarrow);
    EXPECT_FALSE(lossy);
    EXPECT_EQ(Utf8ToNarrow("\xC3\xA9", &lossy).size(), 1u);
    EXPECT_TRUE(lossy);
}

}  // namespace
