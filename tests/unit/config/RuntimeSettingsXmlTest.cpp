#include "config/RuntimeSettingsXml.h"

#include <gtest/gtest.h>

#include "support/XmlFormat.h"

namespace {

RuntimeSettings Read(std::string_view xml, RuntimeSettings settings = {}) {
    CBKXmlFormat document;
    const XML_NODE* root = document.Parse(xml);
    EXPECT_NE(root, nullptr) << xml;
    if (root != nullptr) ReadRuntimeSettings(*root, settings);
    return settings;
}

std::string Write(const RuntimeSettings& settings) {
    CBKXmlFormat document;
    WriteRuntimeSettings(settings, *document.AddRootNode(kRuntimeSettingsRoot));
    return document.Write();
}

TEST(RuntimeSettingsXml, WritesTheBytesItRead) {
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        "<RuntimeSettings WindowPos=\"-1,2,-2147483648,2147483647\" ConfigWorkerPos=\"5,6,7,8\""
        " ConfigMiningPoolsPos=\"9,10,11,12\" StartSolverOnStart=\"13\" HostIP=\"4294967295\" HostPort=\"14\""
        " ControlState=\"15\" LastControlState=\"16\" MiningState=\"17\" LastMiningState=\"-18\">\n"
        "  <Logging MainLog=\"19\" ConnectionLog=\"20\"/>\n"
        "</RuntimeSettings>\n";
    EXPECT_EQ(Write(Read(text)), text);
}

TEST(RuntimeSettingsXml, StartsWithTheDefaults) {
    const std::string zeros = "0,0,0,0";
    EXPECT_EQ(Write(Read("<RuntimeSettings/>")),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RuntimeSettings WindowPos=\"" + zeros + "\" ConfigWorkerPos=\"" +
                  zeros + "\" ConfigMiningPoolsPos=\"" + zeros +
                  "\" StartSolverOnStart=\"0\" HostIP=\"16777343\" HostPort=\"8010\" ControlState=\"0\""
                  " LastControlState=\"0\" MiningState=\"0\" LastMiningState=\"0\">\n"
                  "  <Logging MainLog=\"0\" ConnectionLog=\"0\"/>\n</RuntimeSettings>\n");
}

TEST(RuntimeSettingsXml, AbsentValuesLeaveTheirFields) {
    RuntimeSettings settings;
    settings.MainLog = 1;
    settings.HostPort = 99;
    settings.MiningState = 2;
    settings = Read("<RuntimeSettings MainLog=\"5\" ControlState=\"2\"><Log MainLog=\"6\"/></RuntimeSettings>", settings);
    EXPECT_EQ(settings.MainLog, 1);  // counts on the child Logging only
    EXPECT_EQ(settings.HostPort, 99u);
    EXPECT_EQ(settings.MiningState, 2);
    EXPECT_EQ(settings.ControlState, 2);
    settings = Read("<RuntimeSettings><Logging ConnectionLog=\"1\"/><Logging MainLog=\"7\"/></RuntimeSettings>", settings);
    EXPECT_EQ(settings.MainLog, 1);
    EXPECT_EQ(settings.ConnectionLog, 1);
}

TEST(RuntimeSettingsXml, ReadsAddressesAsNumbers) {
    struct Case {
        const char* text;
        std::uint32_t value;
    };
    for (const Case& c : {Case{"16777343", 16777343}, Case{"127.0.0.1", 127}, Case{"", 0}, Case{"localhost", 0},
                          Case{"4294967296", 4294967295}, Case{"-1", 4294967295}}) {
        EXPECT_EQ(Read(std::string("<RuntimeSettings HostIP=\"") + c.text + "\"/>").HostIP, c.value) << c.text;
    }
}

TEST(RuntimeSettingsXml, ScansRectanglesWholeOrNotAtAll) {
    struct Case {
        const char* text;
        bool taken;
        SettingsRect expected;
    };
    const Case cases[] = {
        {"1,2,3,4", true, {1, 2, 3, 4}},
        {" -1, +2,\t3,4 and more", true, {-1, 2, 3, 4}},
        {"1,2,3,4,5", true, {1, 2, 3, 4}},
        {"99999999999,2,-99999999999,4", true, {INT32_MAX, 2, INT32_MIN, 4}},
        {"1,2,3", false, {}},
        {"1,2,3,", false, {}},
        {"1 ,2,3,4", false, {}},
        {"1;2;3;4", false, {}},
        {"1,,3,4", false, {}},
        {"", false, {}},
    };
    for (const Case& c : cases) {
        SettingsRect rectangle{9, 9, 9, 9};
        const XML_NODE root{0, "RuntimeSettings", {{"WindowPos", c.text}, {"WindowPos", "5,6,7,8"}}, {}};
        EXPECT_EQ(ReadRectangle(root, "WindowPos", rectangle), c.taken ? 0 : 24) << c.text;
        const SettingsRect expected = c.taken ? c.expected : SettingsRect{9, 9, 9, 9};
        EXPECT_EQ(rectangle.left, expected.left) << c.text;
        EXPECT_EQ(rectangle.top, expected.top) << c.text;
        EXPECT_EQ(rectangle.right, expected.right) << c.text;
        EXPECT_EQ(rectangle.bottom, expected.bottom) << c.text;
        EXPECT_EQ(ReadRectangle(root, "ConfigWorkerPos", rectangle), 24);
    }
    EXPECT_EQ(Read("<RuntimeSettings WindowPos=\"1,2\" HostPort=\"5\"/>").HostPort, 5u);
}

}  // namespace
