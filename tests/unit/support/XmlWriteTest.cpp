#include <gtest/gtest.h>

#include "support/XmlAttributes.h"
#include "support/XmlFormat.h"

namespace {

TEST(XmlWrite, IndentsByTwoAndEscapes) {
    CBKXmlFormat document;
    XML_NODE* root = document.AddRootNode("Root");
    SetAttribute(*root, "text", "a&b<c>d\"e'f\tg\nh\ri\x01j\x1Fk");
    SetAttribute(AddChild(*root, "Empty"), "caf", "caf\xE9");
    AddChild(AddChild(*root, "Outer"), "Inner");
    EXPECT_EQ(document.Write(),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
              "<Root text=\"a&amp;b&lt;c&gt;d&quot;e'f&#9;g&#10;h&#13;ijk\">\n"
              "  <Empty caf=\"caf\xC3\xA9\"/>\n"
              "  <Outer>\n"
              "    <Inner/>\n"
              "  </Outer>\n"
              "</Root>\n");
}

TEST(XmlWrite, WhatWasWrittenReadsBackAndIsWrittenTheSame) {
    CBKXmlFormat document;
    XML_NODE* root = document.AddRootNode("MinerConfig");
    std::string everyByte;
    for (int value = 0x20; value < 0x100; ++value)
        everyByte.push_back(static_cast<char>(value));
    SetAttribute(*root, "all", everyByte + "\t\r\n ");
    SetAttribute(*root, "blanks", "  leading and trailing  ");
    SetAttribute(*root, "empty", "");
    SetAttribute(*root, "reference", "&#10; &amp; %s ]]> -->");
    for (int i = 0; i < 3; ++i)
        SetAttribute(AddChild(*root, "Pool"), "ID", std::int32_t{i});

    const std::string text = document.Write();
    CBKXmlFormat again;
    const XML_NODE* read = again.Parse(text);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->attributes, root->attributes);
    EXPECT_EQ(again.Write(), text);
    EXPECT_FALSE(again.LostCharacters());
}

}  // namespace
