#include "support/XmlAttributes.h"

#include <gtest/gtest.h>

namespace {

TEST(XmlAttributes, SetsReplacesAndFindsTheFirst) {
    XML_NODE node{0, "Pool", {{"ID", "1"}, {"Name", "a"}, {"ID", "2"}}, {}};
    SetAttribute(node, "ID", std::int32_t{-1});
    SetAttribute(node, "Port", std::uint32_t{4294967295u});
    SetAttribute(node, "NGTO", std::uint64_t{18446744073709551615ull});
    SetAttribute(node, "name", "case matters");
    const std::vector<std::pair<std::string, std::string>> expected = {{"ID", "-1"},
                                                                       {"Name", "a"},
                                                                       {"ID", "2"},
                                                                       {"Port", "4294967295"},
                                                                       {"NGTO", "18446744073709551615"},
                                                                       {"name", "case matters"}};
    EXPECT_EQ(node.attributes, expected);
    ASSERT_NE(FindAttribute(node, "ID"), nullptr);
    EXPECT_EQ(*FindAttribute(node, "ID"), "-1");
    EXPECT_EQ(FindAttribute(node, "I"), nullptr);
}

TEST(XmlAttributes, ChildrenAreOneLevelDeeperAndCollectedInOrder) {
    XML_NODE root{0, "Root", {}, {}};
    SetAttribute(AddChild(root, "Pool"), "ID", "1");
    SetAttribute(AddChild(AddChild(root, "Other"), "Pool"), "ID", "not direct");
    SetAttribute(AddChild(root, "Pool"), "ID", "2");

    EXPECT_EQ(root.children[1].level, 1);
    EXPECT_EQ(root.children[1].children[0].level, 2);
    const std::vector<const XML_NODE*> pools = CollectChildren(root, "Pool");
    ASSERT_EQ(pools.size(), 2u);
    EXPECT_EQ(*FindAttribute(*pools[0], "ID"), "1");
    EXPECT_EQ(*FindAttribute(*pools[1], "ID"), "2");
    EXPECT_EQ(FindChild(root, "Pool"), pools[0]);
    EXPECT_EQ(FindChild(root, "pool"), nullptr);
}

TEST(XmlAttributes, NumbersReadAsTheRuntimeReadsThem) {
    struct Case {
        const char* text;
        std::int32_t i32;
        std::uint32_t u32;
        std::int64_t i64;
    };
    constexpr std::int64_t kMax64 = 9223372036854775807;
    const Case cases[] = {
        {"", 0, 0, 0},
        {"garbage", 0, 0, 0},
        {"12abc", 12, 12, 12},
        {" \t\n\v\f\r+7", 7, 7, 7},
        {"- 7", 0, 0, 0},
        {"-1", -1, 4294967295u, -1},
        {"0x10", 0, 0, 0},
        {"127.0.0.1", 127, 127, 127},
        {"2147483648", 2147483647, 2147483648u, 2147483648},
        {"-2147483649", -2147483647 - 1, 2147483647u, -2147483649},
        {"4294967296", 2147483647, 4294967295u, 4294967296},
        {"-4294967296", -2147483647 - 1, 4294967295u, -4294967296},
        {"9223372036854775808", 2147483647, 4294967295u, kMax64},
        {"18446744073709551615", 2147483647, 4294967295u, kMax64},
        {"-9223372036854775808", -2147483647 - 1, 4294967295u, -kMax64 - 1},
        {"99999999999999999999999999", 2147483647, 4294967295u, kMax64},
        {"-99999999999999999999999999", -2147483647 - 1, 4294967295u, -kMax64 - 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ParseInt32(c.text), c.i32) << c.text;
        EXPECT_EQ(ParseUInt32(c.text), c.u32) << c.text;
        EXPECT_EQ(ParseInt64(c.text), c.i64) << c.text;
    }
}

}  // namespace
