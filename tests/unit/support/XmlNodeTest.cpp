#include <gtest/gtest.h>

#include "support/XmlAttributes.h"
#include "support/XmlFormat.h"

namespace {

TEST(XmlAttributes, NumbersReadAsTheRuntimeReadsThem) {
    constexpr std::int32_t kMax = 2147483647;
    constexpr std::int64_t kMax64 = 9223372036854775807;
    constexpr struct {
        const char* text;
        std::int32_t i32;
        std::uint32_t u32;
        std::int64_t i64;
    } kCases[] = {
        {"", 0, 0, 0},
        {"12abc", 12, 12, 12},
        {" \t\n\v\f\r+7", 7, 7, 7},
        {"- 7", 0, 0, 0},
        {"-1", -1, 4294967295u, -1},
        {"0x10", 0, 0, 0},
        {"2147483648", kMax, 2147483648u, 2147483648},
        {"-2147483649", -kMax - 1, 2147483647u, -2147483649},
        {"4294967296", kMax, 4294967295u, 4294967296},
        {"-4294967296", -kMax - 1, 4294967295u, -4294967296},
        {"9223372036854775808", kMax, 4294967295u, kMax64},
        {"-9223372036854775808", -kMax - 1, 4294967295u, -kMax64 - 1},
        {"99999999999999999999999999", kMax, 4294967295u, kMax64},
        {"-99999999999999999999999999", -kMax - 1, 4294967295u, -kMax64 - 1},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(ParseInt32(c.text), c.i32) << c.text;
        EXPECT_EQ(ParseUInt32(c.text), c.u32) << c.text;
        EXPECT_EQ(ParseInt64(c.text), c.i64) << c.text;
    }
}

TEST(XmlWrite, IndentsByTwoAndEscapes) {
    CBKXmlFormat document;
    XML_NODE* root = document.AddRootNode("Root");
    SetAttribute(*root, "text", "replaced");
    SetAttribute(*root, "NGTO", std::uint64_t{18446744073709551615ull});
    SetAttribute(*root, "text", "a&b<c>d\"e'f\tg\nh\ri\x01j\x1Fk");
    SetAttribute(AddChild(*root, "Empty"), "caf", "caf\xE9");
    SetAttribute(AddChild(AddChild(*root, "Outer"), "Inner"), "ID", std::int32_t{-1});
    EXPECT_EQ(document.Write(),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
              "<Root text=\"a&amp;b&lt;c&gt;d&quot;e'f&#9;g&#10;h&#13;ijk\" NGTO=\"18446744073709551615\">\n"
              "  <Empty caf=\"caf\xC3\xA9\"/>\n"
              "  <Outer>\n"
              "    <Inner ID=\"-1\"/>\n"
              "  </Outer>\n"
              "</Root>\n");
}

TEST(XmlWrite, WhatWasWrittenReadsBackAndIsWrittenTheSame) {
    CBKXmlFormat document;
    XML_NODE* root = document.AddRootNode("MinerConfig");
    std::string everyByte = "  &#10; &amp; %s ]]> -->";
    for (int value = 0x20; value < 0x100; ++value)
        everyByte.push_back(static_cast<char>(value));
    SetAttribute(*root, "all", everyByte + "\t\r\n ");
    SetAttribute(*root, "empty", "");
    AddChild(*root, "Pool");
    const std::string text = document.Write();
    CBKXmlFormat again;
    const XML_NODE* read = again.Parse(text);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->attributes, root->attributes);
    EXPECT_EQ(again.Write(), text);
    EXPECT_FALSE(again.LostCharacters());
}

}  // namespace
