#include <gtest/gtest.h>

#include "support/XmlAttributes.h"
#include "support/XmlFormat.h"
#include "support/XmlScan.h"

namespace {

using namespace std::string_literals;

std::string Nested(std::size_t depth) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i)
        text += "<a>";
    for (std::size_t i = 0; i < depth; ++i)
        text += "</a>";
    return text;
}

std::string ManyAttributes(std::size_t count) {
    std::string text = "<a";
    for (std::size_t i = 0; i < count; ++i)
        text += " k='v'";
    return text + "/>";
}

std::string ManyChildren(std::size_t count) {
    std::string text = "<a>";
    for (std::size_t i = 0; i < count; ++i)
        text += "<b/>";
    return text + "</a>";
}

TEST(XmlParse, TellsDocumentsFromEverythingElse) {
    struct Case {
        const char* what;
        std::string text;
        bool good;
    };
    const Case cases[] = {
        {"empty", "", false},
        {"blank", " \r\n\t ", false},
        {"only a byte order mark", "\xEF\xBB\xBF", false},
        {"only a declaration", "<?xml version='1.0'?>", false},
        {"only a comment", "<!-- <a/> -->", false},
        {"plain text", "MinerConfig", false},
        {"binary",
         std::string("\x7F"
                     "ELF\x02\x01\0\0",
                     8),
         false},
        {"UTF-16", std::string("\xFF\xFE<\0a\0/\0>\0", 10), false},
        {"zero byte", "<a b='\0'/>"s, false},
        {"malformed UTF-8 in a value", "<a b='\xE9'/>", false},
        {"malformed UTF-8 in a comment", "<a><!-- \xE9 --></a>", false},
        {"cut in a name", "<Miner", false},
        {"cut in a value", "<a b='c", false},
        {"cut before the end tag", "<a><b/>", false},
        {"cut in the end tag", "<a></a", false},
        {"cut in a comment", "<a><!-- </a>", false},
        {"cut in a section", "<a><![CDATA[ </a>", false},
        {"wrong end tag", "<a><b></a></b>", false},
        {"end tag alone", "</a>", false},
        {"two roots", "<a/><b/>", false},
        {"text after the root", "<a/>x", false},
        {"no name", "< a/>", false},
        {"name starts with a digit", "<1/>", false},
        {"quote in a name", "<a\"b>", false},
        {"no quotes", "<a b=c/>", false},
        {"no value", "<a b/>", false},
        {"no equals sign", "<a b 'c'/>", false},
        {"other quote", "<a b='c\"/>", false},
        {"character beyond Unicode", "<a b='&#x110000;'/>", false},
        {"reference without end", "<a b='&#65'/>", false},
        {"document type", "<!DOCTYPE a [<!ENTITY b 'bbb'>]><a/>", false},
        {"section outside the root", "<![CDATA[x]]><a/>", false},
        {"64 levels", Nested(kXmlMaxDepth), true},
        {"65 levels", Nested(kXmlMaxDepth + 1), false},
        {"200,000 levels", Nested(200'000), false},
        {"200,000 levels, never closed", Nested(200'000).substr(0, 600'000), false},
        {"end tags hidden in comments and values", "<a>" + std::string(3, ' ') + "<!--</a>--><b c='</a></b>'></b></a>",
         true},
        {"200,000 attributes", ManyAttributes(200'000), true},
        {"more attributes than allowed", ManyAttributes(kXmlMaxParts), false},
        {"200,000 children", ManyChildren(200'000), true},
        {"more children than allowed", ManyChildren(kXmlMaxParts), false},
        {"more bytes than allowed", "<a b='" + std::string(kXmlMaxBytes, 'x') + "'/>", false},
        {"byte order mark", "\xEF\xBB\xBF<a/>", true},
        {"smallest", "<a/>", true},
        {"everything around the root", "<?xml version='1.0'?>\r\n<!-- c -->\r\n<?p i?>\n<a>t<![CDATA[<b>]]></a>\n<!---->\n",
         true},
        {"blanks in tags", "<a\tb = \"1\"\r\nc='2'  ><b /></a >", true},
    };
    for (const Case& c : cases) {
        CBKXmlFormat document;
        const XML_NODE* root = document.Parse(c.text);
        EXPECT_EQ(root != nullptr, c.good) << c.what;
        EXPECT_EQ(document.Status(), c.good ? XmlStatus::Ok : XmlStatus::Malformed) << c.what;
    }
}

TEST(XmlParse, KeepsOrderDuplicatesAndLevels) {
    CBKXmlFormat document;
    const XML_NODE* root =
        document.Parse("<Root b='1' a='2' b='3'>x<P n='1'/>y<Q><P n='2'/></Q><!-- z --><P n='3'/></Root>");
    ASSERT_NE(root, nullptr);
    const std::vector<std::pair<std::string, std::string>> expected = {{"b", "1"}, {"a", "2"}, {"b", "3"}};
    EXPECT_EQ(root->attributes, expected);
    EXPECT_EQ(*FindAttribute(*root, "b"), "1");
    EXPECT_EQ(root->name, "Root");
    EXPECT_EQ(root->level, 0);
    ASSERT_EQ(root->children.size(), 3u);
    EXPECT_EQ(root->children[0].name, "P");
    EXPECT_EQ(root->children[1].children[0].level, 2);
    EXPECT_EQ(CollectChildren(*root, "P").size(), 2u);
}

TEST(XmlParse, DecodesValues) {
    struct Case {
        const char* text;
        std::string value;
        bool lost;
    };
    const Case cases[] = {
        {"<a v='&amp;&lt;&gt;&quot;&apos;'/>", "&<>\"'", false},
        {"<a v='&#9;&#10;&#13;&#65;&#x42;'/>", "\t\n\rAB", false},
        {"<a v='&amp;amp; &unknown; 100%'/>", "&amp; &unknown; 100%", false},
        {"<a v='&#1;x&#0;&#31;y'/>", "xy", false},
        {"<a v='\xC3\xA9'/>", "\xE9", false},
        {"<a v='\xE6\x97\xA5'/>", "?", true},
        {"<a v=\"it's  two\"/>", "it's  two", false},
    };
    for (const Case& c : cases) {
        CBKXmlFormat document;
        const XML_NODE* root = document.Parse(c.text);
        ASSERT_NE(root, nullptr) << c.text;
        EXPECT_EQ(root->attributes[0].second, c.value) << c.text;
        EXPECT_EQ(document.LostCharacters(), c.lost) << c.text;
    }
}

TEST(XmlParse, AHalfOfASurrogatePairIsALostCharacter) {
    CBKXmlFormat document;
    const XML_NODE* root = document.Parse("<a v='x&#xD800;y'/>");
    ASSERT_NE(root, nullptr);
    EXPECT_TRUE(root->attributes[0].second.starts_with("x?"));
    EXPECT_TRUE(document.LostCharacters());
}

TEST(XmlParse, AFailureLeavesNothingOfTheDocumentBefore) {
    CBKXmlFormat document;
    ASSERT_NE(document.Parse("<a v='\xE6\x97\xA5'/>"), nullptr);
    EXPECT_EQ(document.Parse("<a>"), nullptr);
    EXPECT_EQ(document.Write(), "");
    EXPECT_FALSE(document.LostCharacters());
}

}  // namespace
