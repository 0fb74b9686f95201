#include <gtest/gtest.h>

#include <cstring>

#include "support/XmlAttributes.h"
#include "support/XmlFormat.h"
#include "support/XmlParse.h"

namespace {

using namespace std::string_literals;

std::string Repeated(const std::string& text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

std::string Nested(std::size_t depth) {
    return Repeated("<a>", depth) + Repeated("</a>", depth);
}

TEST(XmlParse, RejectsEverythingThatIsNoDocument) {
    const std::string texts[] = {
        // nothing, or something else
        "", " \r\n\t ", "\xEF\xBB\xBF", "<?xml version='1.0'?>", "<!-- <a/> -->", "MinerConfig", "\x7F\x45LF\x02\0\0"s,
        "\xFF\xFE<\0a\0/\0\xD8"s, "<a b='\0'/>"s,
        // cut
        "<Miner", "<a b='c", "<a><b/>", "<a></a", "<a><!-- </a>", "<a><![CDATA[ </a>", "<a b='&#65'/>",
        // wrong order or form
        "<a><b></a></b>", "</a>", "<a/><b/>", "<a/>x", "< a/>", "<1/>", "<a\"b>", "<a b=c/>", "<a b/>", "<a b 'c'/>",
        "<a b='c\"/>", "<a b='&#x110000;'/>", "<!DOCTYPE a [<!ENTITY b 'bbb'>]><a/>", "<![CDATA[x]]><a/>",
        // too large
        Nested(kXmlMaxDepth + 1), Nested(200'000), Repeated("<a>", 200'000), "<a" + Repeated(" k='v'", kXmlMaxParts) + "/>",
        "<a>" + Repeated("<b/>", kXmlMaxParts) + "</a>", "<a b='" + std::string(kXmlMaxBytes, 'x') + "'/>"};
    for (const std::string& text : texts) {
        CBKXmlFormat document;
        EXPECT_EQ(document.Parse(text), nullptr) << text.substr(0, 80);
        EXPECT_EQ(document.Status(), XmlStatus::Malformed) << text.substr(0, 80);
    }
}

TEST(XmlParse, TakesDocuments) {
    const std::string texts[] = {Nested(kXmlMaxDepth),
                                 "<a>   <!--</a>--><b c='</a></b>'></b></a>",
                                 "<a" + Repeated(" k='v'", 200'000) + "/>",
                                 "<a>" + Repeated("<b/>", 200'000) + "</a>",
                                 "\xEF\xBB\xBF<a/>",
                                 "<?xml version='1.0'?>\r\n<!-- c -->\r\n<?p i?>\n<a>t<![CDATA[<b>]]></a>\n<!---->\n",
                                 "<a\tb = \"1\"\r\nc='2'  ><b /></a >"};
    for (const std::string& text : texts) {
        CBKXmlFormat document;
        EXPECT_NE(document.Parse(text), nullptr) << text.substr(0, 80);
        EXPECT_EQ(document.Status(), XmlStatus::Ok) << text.substr(0, 80);
    }
}

// The code page of these tests is Latin-1, or that of Western Europe.
TEST(XmlParse, ReadsOtherEncodings) {
    const std::string texts[] = {"<a b='\xC3\xA9'/>",
                                 "\xEF\xBB\xBF<?xml version='1.0' encoding='iso-8859-1'?><a b='\xC3\xA9'/>",
                                 "<a b='\xE9'/>",
                                 "<?xml version='1.0' encoding='UTF-8'?><a b='\xE9'/>",
                                 "<?xml version=\"1.0\" encoding=\"Windows-1252\"?><a b='\xE9'/>",
                                 "<?xml version=\"1.0\" encoding='ISO-8859-15' ?><a b='\xE9'/>",
                                 "\xFF\xFE<\0a\0 \0b\0=\0'\0\xE9\0'\0/\0>\0"s,
                                 "\xFE\xFF\0<\0a\0 \0b\0=\0'\0\xE9\0'\0/\0>"s};
    for (const std::string& text : texts) {
        CBKXmlFormat document;
        const XML_NODE* const root = document.Parse(text);
        ASSERT_NE(root, nullptr) << text;
        EXPECT_EQ(root->attributes.at(0).second, "\xE9") << text;
        EXPECT_FALSE(document.LostText());
    }
    CBKXmlFormat document;
    ASSERT_NE(document.Parse("<a b='\xC3\xA9'>text<!-- comment --></a>"), nullptr);
    EXPECT_TRUE(document.LostText());
    ASSERT_NE(document.Parse("<a b='\xC3\xA9'><!-- comment --></a>"), nullptr);
    EXPECT_TRUE(document.LostText());
}

TEST(XmlParse, KeepsOrderDuplicatesAndLevels) {
    CBKXmlFormat document;
    const XML_NODE* root =
        document.Parse("<Root b='1' a='2' b='3'>x<P n='1'/>y<Q><P n='2'/></Q><!-- z --><P n='3'/></Root>");
    ASSERT_NE(root, nullptr);
    const std::vector<std::pair<std::string, std::string>> expected = {{"b", "1"}, {"a", "2"}, {"b", "3"}};
    EXPECT_EQ(root->attributes, expected);
    EXPECT_EQ(*FindAttribute(*root, "b"), "1");
    EXPECT_EQ(FindAttribute(*root, "B"), nullptr);
    EXPECT_EQ(root->children.at(1).children.at(0).level, 2);
    const std::vector<const XML_NODE*> nodes = CollectChildren(*root, "P");
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(*FindAttribute(*nodes[1], "n"), "3");
    EXPECT_EQ(FindChild(*root, "P"), nodes[0]);
    EXPECT_EQ(FindChild(*root, "p"), nullptr);
}

TEST(XmlParse, DecodesValues) {
    constexpr struct {
        const char* text;
        const char* value;
        bool lost;
    } kCases[] = {
        {"<a v='&amp;&lt;&gt;&quot;&apos;'/>", "&<>\"'", false},
        {"<a v='&#9;&#10;&#13;&#65;&#x42;'/>", "\t\n\rAB", false},
        {"<a v='&amp;amp; &unknown; 100%'/>", "&amp; &unknown; 100%", false},
        {"<a v='&#1;x&#0;&#31;y'/>", "xy", false},
        {"<a v='\xC3\xA9'/>", "\xE9", false},
        {"<a v='\xE6\x97\xA5'/>", "?", false},  // the original is kept
        {"<a v='x&#xD800;'/>", "x?", true},
        {"<a v=\"it's  two\"/>", "it's  two", false},
    };
    CBKXmlFormat document;
    for (const auto& c : kCases) {
        const XML_NODE* root = document.Parse(c.text);
        ASSERT_NE(root, nullptr) << c.text;
        EXPECT_EQ(root->attributes[0].second.substr(0, std::strlen(c.value)), c.value) << c.text;
        EXPECT_EQ(document.LostCharacters(), c.lost) << c.text;
        EXPECT_EQ(document.Parse("<a>"), nullptr);  // leaves nothing of the document before
        EXPECT_EQ(document.Write(), "");
        EXPECT_FALSE(document.LostCharacters());
    }
}

}  // namespace
