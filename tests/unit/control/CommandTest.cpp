// What each line of a controller leads to.
#include <gtest/gtest.h>
#include "RecordingHost.h"
#include "common/IpAddress.h"
#include "control/ControlCommandParser.h"
#include "control/ControlCommands.h"
#include "control/ControlSecurity.h"

namespace {

using namespace std::string_literals;
using Events = std::vector<std::string>;

std::string Repeated(std::string_view text, std::size_t times) {
    std::string out;
    for (std::size_t i = 0; i < times; ++i)
        out.append(text);
    return out;
}

TEST(ControlCommands, EachLineDoesExactlyWhatItSays) {
    struct {
        std::string line;
        CommandResult result;
        Events events;
    } const cases[] = {
        {R"({"cmd":"connect","params":{}})", CommandResult::SystemWanted, {}},
        {R"({"cmd":"connect","params":{"ver":"1.2","workername":"rig7"}})", CommandResult::SystemWanted, {"worker rig7"}},
        {R"({"cmd":"connect","params":{"workername":7}})", CommandResult::SystemWanted, {}},
        {R"({"cmd":"workername","params":{"workername":"12345678901234567890"}})",
         CommandResult::Done,
         {"worker 12345678901234567"}},
        {R"({"cmd":"workername","params":{"workername":""}})", CommandResult::Done, {"worker "}},
        {R"({"cmd":"workername","params":{"workername":"a","workername":"b"}})", CommandResult::Done, {"worker a"}},
        {R"({"cmd":"workername","params":{"workername":"a\u0000b"}})", CommandResult::Done, {"worker a"}},
        {R"({"cmd":"workername","params":{"workername":"M\u00fcller"}})", CommandResult::Done, {"worker Müller"}},
        {R"({"cmd":"workername","params":{"workername":"Müller"}})", CommandResult::Done, {"worker Müller"}},
        {"{\"cmd\":\"workername\",\"params\":{\"workername\":\"M\xFCller\"}}", CommandResult::Done, {"worker Müller"}},
        {R"({"cmd":"workername","params":{"WorkerName":"a"}})", CommandResult::Ignored, {}},
        {R"({"cmd":"workername","params":{"workername":null}})", CommandResult::Ignored, {}},
        {R"({"cmd":"workername","params":{}})", CommandResult::Ignored, {}},
        {R"({"cmd":"START-Mining","params":{}})", CommandResult::Done, {"mining 1"}},
        {" {\"params\":{\"x\":[]},\"cmd\":\"stop-mining\"}\r", CommandResult::Done, {"mining 0"}},
        {R"({"cmd":"start-mining"})", CommandResult::Ignored, {}},
        {R"({"cmd":"start-mining","params":[]})", CommandResult::Ignored, {}},
        {R"({"cmd":"start-mining2","params":{}})", CommandResult::Ignored, {}},
        {R"({"cmd":5,"params":{}})", CommandResult::Ignored, {}},
        {R"({"CMD":"start-mining","params":{}})", CommandResult::Ignored, {}},
        {R"({"cmd":5,"cmd":"start-mining","params":{}})", CommandResult::Ignored, {}},
        {R"({"cmd":"start-mining","params":{})", CommandResult::Ignored, {}},
        {R"(["start-mining"])", CommandResult::Ignored, {}},
        {"", CommandResult::Ignored, {}},
        {"\0\x01\xFF\xFE\n{"s, CommandResult::Ignored, {}},
    };
    for (const auto& [line, result, events] : cases) {
        CRecordingHost host;
        EXPECT_EQ(CControlCommands(host, {}).Execute(line), result) << line;
        EXPECT_EQ(host.Take(), events) << line;
    }
}

TEST(ControlCommands, GpuSettingsTakeOnlyNumbersOfTheirRange) {
    struct {
        const char* members;
        std::int32_t NGM;
        std::uint64_t NGTO;
    } const cases[] = {
        {R"("NGM":-2147483648,"NGTO":18446744073709551615)", INT32_MIN, UINT64_MAX},
        {R"("NGM":3)", 3, 22},
        {R"("NGTO":0)", 11, 0},
        {R"("NGM":2147483648,"NGTO":18446744073709551616)", 11, 22},
        {R"("NGM":1.0,"NGTO":-1)", 11, 22},
        {R"("NGM":"3","NGTO":1e400)", 11, 22},
        {R"("NGM":1e9,"NGM":5,"NGTO":[1])", 11, 22},
    };
    for (const auto& [members, NGM, NGTO] : cases) {
        CRecordingHost host;
        ApplyGpuSetting({&host.A(), 11, 22});
        const auto line = [members](const std::string& id) {
            return R"({"cmd":"noncegeneratorsettings","params":{"ID":)" + id + "," + members + "}}";
        };
        CControlCommands commands(host, {});
        for (const char* stranger : {R"("00000000000000000000000000000000")", R"("0001")", R"("")", "7"})
            EXPECT_EQ(commands.Execute(line(stranger)), CommandResult::Ignored) << stranger;
        EXPECT_EQ(ReadNGM(host.A()), 11);
        commands.Execute(line("\"" + kGpuA + "\""));
        EXPECT_EQ(ReadNGM(host.A()), NGM) << members;
        EXPECT_EQ(ReadNGTO(host.A()), NGTO) << members;
        EXPECT_EQ(ReadNGM(host.B()), 0) << members;
        EXPECT_EQ(host.Take(), Events()) << "nothing is saved or posted";
    }
}

TEST(ControlCommands, DeepOrEndlessLinesAreRefusedBeforeTheyCost) {
    const auto command = [](const std::string& value) { return R"({"cmd":"start-mining","params":{"x":)" + value + "}}"; };
    const std::size_t deepest = kMaximumCommandDepth - 2;  // inside the line's object and its params
    EXPECT_TRUE(ParseCommand(command(Repeated("[", deepest) + Repeated("]", deepest))));
    EXPECT_FALSE(ParseCommand(command(Repeated("[", deepest + 1) + Repeated("]", deepest + 1))));
    EXPECT_FALSE(ParseCommand(command(Repeated("{\"a\":", 500'000) + "1" + Repeated("}", 500'000))));
    EXPECT_FALSE(ParseCommand(Repeated("[", 2'000'000)));
    EXPECT_TRUE(ParseCommand(command("[0" + Repeated(",0", 40'000) + "]")));
    EXPECT_FALSE(ParseCommand(command("[0" + Repeated(",0", kMaximumCommandValues) + "]")));
    EXPECT_TRUE(ParseCommand(command('"' + Repeated("text", 500'000) + '"')));
}

TEST(ControlCommands, WithATokenOnlyItsBearerIsObeyed) {
    CRecordingHost host;
    CControlCommands commands(host, "s€cret");
    const auto start = [](const std::string& members) { return R"({"cmd":"start-mining","params":{)" + members + "}}"; };
    for (const char* wrong : {"", R"("token":"")", R"("token":"s€cre")", R"("token":"s€cret ")", R"("token":"S€cret")",
                              R"("token":"s€cret\u0000")", R"("token":1)", R"("Token":"s€cret")", R"("token":["s€cret"])",
                              R"("token":"no","token":"s€cret")"}) {
        EXPECT_EQ(commands.Execute(start(wrong)), CommandResult::Refused) << wrong;
    }
    EXPECT_EQ(commands.Execute(R"({"cmd":"connect","token":"s€cret","params":{}})"), CommandResult::Refused);
    EXPECT_EQ(host.Take(), Events());
    EXPECT_EQ(commands.Execute(start(R"("token":"s\u20acret")")), CommandResult::Refused) << "the c is missing";
    EXPECT_EQ(commands.Execute(start(R"("token":"s\u20accret")")), CommandResult::Done);
    EXPECT_EQ(host.Take(), Events{"mining 1"});
}

TEST(ControlSecurity, OnlyAnOpenAddressWithoutATokenIsWarnedOf) {
    constexpr std::uint32_t kLoopback = 0x0100007F, kLastLoopback = 0xFFFFFF7F, kNetwork = 0x0501A8C0, kNearLoopback = 0x7F;
    EXPECT_TRUE(IsLoopback(kLoopback) && IsLoopback(kLastLoopback) && IsLoopback(kNearLoopback));
    EXPECT_FALSE(IsLoopback(0) || IsLoopback(kNetwork) || IsLoopback(0x7F000001));
    EXPECT_EQ(ListenWarning(kLoopback, 8010, false), L"");
    EXPECT_EQ(ListenWarning(kNetwork, 8010, true), L"");
    EXPECT_NE(ListenWarning(kNetwork, 8010, false).find(L"192.168.1.5, port 8010, without a password"), std::wstring::npos);
    EXPECT_NE(ListenWarning(0, 80, false).find(L"every address"), std::wstring::npos);
    EXPECT_EQ(ListenTrouble(0, 80, 9),
              L"port 80 of every address of this machine: Windows Sockets error 9; trying again every 5 s");
}

TEST(ControlSecurity, ATokenThatCanBeGuessedOrWasChangedIsRefused) {
    const std::pair<std::string, bool> rows[] = {{"", true},
                                                 {"0123456789abcdef", true},
                                                 {"0123456789abcde", false},
                                                 {Repeated("ü", 15), false},
                                                 {Repeated("ü", 16), true},
                                                 {Repeated("€", 15) + "𝄞", true},
                                                 {"????????????????", true},
                                                 {"0123456789abcdef\uFFFD", false},
                                                 {"0123456789abcdef\xFC", false},
                                                 {"0123456789abcdef\n", false}};
    for (const auto& [token, isGood] : rows)
        EXPECT_EQ(TokenTrouble(token).empty(), isGood) << token;
}

TEST(ControlSecurity, KnowsAnHttpRequestByItsFirstLine) {
    const std::pair<std::string, std::wstring> rows[] = {
        {"POST / HTTP/1.1\r", L"POST /"},
        {"GET http://127.0.0.1:8010/?{\"cmd\":1} HTTP/1.1\r", L"GET http://127.0.0.1:8010/?{\"cmd\":1}"},
        {"x-y!\t /a\x01\xC3\xBC \tHTTP/", L"x-y! /a???"},
        {Repeated("M", 200) + " / HTTP/1.1", std::wstring(80, L'M') + L"... /"},
        {R"({"cmd":"start-mining","params":{"x":"POST / HTTP/1.1"}})", L""},
        {"POST / http/1.1", L""},
        {"POST HTTP/1.1", L""},
        {" POST / HTTP/1.1", L""},
        {"Referer: http://a HTTP/1.1", L""},
        {"one two three HTTP/1.1", L""},
        {"POST", L""},
        {"", L""},
    };
    for (const auto& [line, request] : rows)
        EXPECT_EQ(HttpRequestOf(line).value_or(L""), request) << line;
}

}  // namespace
