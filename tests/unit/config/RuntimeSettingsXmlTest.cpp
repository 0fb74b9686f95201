#include "config/RuntimeSettingsXml.h"

#include <gtest/gtest.h>

#include <array>

#include "support/XmlFormat.h"

namespace {

RuntimeSettings Read(std::string_view xml, RuntimeSettings settings = {}) {
    CBKXmlFormat document;
    const XML_NODE* root = document.Parse(xml);
    EXPECT_NE(root, nullptr) << xml;
    CLoadReport report;
    if (root != nullptr) ReadRuntimeSettings(*root, settings, report);
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
        " ControlState=\"15\" LastControlState=\"16\" MiningState=\"17\" LastMiningState=\"-18\" Theme=\"15\""
        " HideMinimized=\"1\" AskBeforeClosing=\"0\" ControlToken=\"s&amp;crét €\" Proxy=\"socks5://a:b@c:1\">\n"
        "  <Logging MainLog=\"19\" ConnectionLog=\"20\" LogDays=\"0\"/>\n"
        "</RuntimeSettings>\n";
    EXPECT_EQ(Write(Read(text)), text);
}

TEST(RuntimeSettingsXml, StartsWithTheDefaults) {
    EXPECT_EQ(Write(Read("<RuntimeSettings/>")),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
              "<RuntimeSettings WindowPos=\"0,0,0,0\" ConfigWorkerPos=\"0,0,0,0\" ConfigMiningPoolsPos=\"0,0,0,0\""
              " StartSolverOnStart=\"0\" HostIP=\"16777343\" HostPort=\"8010\" ControlState=\"0\" LastControlState=\"0\""
              " MiningState=\"0\" LastMiningState=\"0\">\n"
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

TEST(RuntimeSettingsXml, NamesWhatItDoesNotUnderstand) {
    const std::pair<const char*, const wchar_t*> rows[] = {
        {"<RuntimeSettings MiningState=\"2\" WindowPos=\"1,2,3,4\"><Logging MainLog=\"1\"/></RuntimeSettings>", L""},
        {"<RuntimeSettings MiningState=\"7\" miningState=\"1\" WindowPos=\"1,2,3\"/>",
         L"not understood: the attribute miningState of the settings; MiningState=\"7\" of the settings; WindowPos of the "
         L"settings"},
        {"<RuntimeSettings><Logging Mainlog=\"1\" ConnectionLog=\"yes\"/><Logging/><Log/></RuntimeSettings>",
         L"not understood: the element Log of the settings; another Logging of the settings; the attribute Mainlog of "
         L"Logging; "
         L"ConnectionLog=\"yes\" of Logging"},
    };
    for (const auto& [xml, text] : rows) {
        CBKXmlFormat document;
        RuntimeSettings settings;
        CLoadReport report;
        ReadRuntimeSettings(*document.Parse(xml), settings, report);
        EXPECT_EQ(report.Text(), text);
    }
}

TEST(RuntimeSettingsXml, WhatIsNoNumberOfDaysIsTheDefault) {
    for (const auto& [text, days] : {std::pair("7", 7), {"0", 0}, {"-1", 30}, {"", 30}, {"7 days", 30}, {"99999999999", 30}})
        EXPECT_EQ(Read(std::string("<RuntimeSettings><Logging LogDays=\"") + text + "\"/></RuntimeSettings>").LogDays, days);
}

TEST(RuntimeSettingsXml, ReadsAddressesAsNumbers) {
    constexpr std::pair<const char*, std::uint32_t> rows[] = {
        {"16777343", 16777343}, {"127.0.0.1", 127},         {"", 0},
        {"localhost", 0},       {"4294967296", 4294967295}, {"-1", 4294967295}};
    for (const auto& [text, address] : rows)
        EXPECT_EQ(Read(std::string("<RuntimeSettings HostIP=\"") + text + "\"/>").HostIP, address) << text;
}

TEST(RuntimeSettingsXml, ScansRectanglesWholeOrNotAtAll) {
    using Sides = std::array<std::int32_t, 4>;
    constexpr Sides untouched = {9, 9, 9, 9};
    constexpr std::pair<const char*, Sides> rows[] = {{"1,2,3,4", {1, 2, 3, 4}},
                                                      {" -1, +2,\t3,4 and more", {-1, 2, 3, 4}},
                                                      {"1,2,3,4,5", {1, 2, 3, 4}},
                                                      {"99999999999,2,-99999999999,4", {INT32_MAX, 2, INT32_MIN, 4}},
                                                      {"1,2,3,", untouched},
                                                      {"1 ,2,3,4", untouched},
                                                      {"1;2;3;4", untouched},
                                                      {"1,,3,4", untouched},
                                                      {"", untouched}};
    for (const auto& [text, sides] : rows) {
        SettingsRect rectangle{9, 9, 9, 9};
        const XML_NODE root{0, "RuntimeSettings", {{"WindowPos", text}, {"WindowPos", "5,6,7,8"}}, {}};
        EXPECT_EQ(ReadRectangle(root, "WindowPos", rectangle), sides == untouched ? 24 : 0) << text;
        EXPECT_EQ(ReadRectangle(root, "ConfigWorkerPos", rectangle), 24);
        EXPECT_EQ((Sides{rectangle.left, rectangle.top, rectangle.right, rectangle.bottom}), sides) << text;
    }
    EXPECT_EQ(Read("<RuntimeSettings WindowPos=\"1,2\" HostPort=\"5\"/>").HostPort, 5u);
}

}  // namespace
