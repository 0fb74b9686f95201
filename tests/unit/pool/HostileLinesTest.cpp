// Lines that no honest pool sends.
#include <gtest/gtest.h>
#include <sstream>
#include "SessionRecorder.h"
#include "pool/StratumMessage.h"
#include "pool/StratumRequests.h"

namespace {

using namespace std::string_literals;

std::string Repeat(const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; ++i)
        all += text;
    return all;
}

TEST(HostileLines, LeaveASoundBlockAndASessionThatWorks) {
    std::vector<std::string> lines = {"",
                                      "\0\0\0"s,
                                      R"({"id":0,"method":"mining.notify","params":["1"]} trailing)",
                                      "{\"id\":0,\"method\":\"mining.notify\",\"params\":[\"in\0side\"]}"s,
                                      Repeat("[", kSmallLine),
                                      Repeat("{\"a\":", kSmallLine / 5),
                                      Repeat("[", 200'000),
                                      Repeat("{\"a\":", 200'000),
                                      Join({R"({"id":1,"result":)", Repeat("[", 30'000), Repeat("]", 30'000), "}"}),
                                      Join({R"({"id":1,"result":)", Repeat("[", 200'000), Repeat("]", 200'000), "}"}),
                                      Join({R"({"method":"mining.notify","params":[)", Repeat("0,", 5'000'000), "0]}"}),
                                      Join({R"({"method":"mining.notify","params":["1")", Repeat(",\"a\"", 10'000), "]}"})};
    std::istringstream more(
        "garbage \xFF\xFE\x80\x01 "
        R"({ {} [] null 5 {"id": {"id":0} {"id":1e999,"result":true}
        {"id":184467440737095516160,"result":true} {"id":1,"id":2,"result":[[[[]]]],"result":1} {"id":2,"error":"\ud800\u0000\"}
        {"id":-9223372036854775809,"method":"mining.notify","params":[1e308]}
        {"id":[1],"method":["mining.notify"],"params":{"0":"1"},"result":{},"error":{"code":{},"message":[{},[]]}}
        {"":"","id":"","method":"","params":"","result":"","error":""})");
    for (std::string line; more >> line;)
        lines.push_back(line);
    for (const ProtocolMode mode : {ProtocolMode::EthProxy, ProtocolMode::Plain, ProtocolMode::NiceHash}) {
        CSessionRecorder recorder;
        recorder.gpus[0];
        recorder.LogIn(mode);
        recorder.session.Activate();
        for (const std::string& line : lines) {
            recorder.Line(line);
            EXPECT_TRUE(IsSound(recorder.session.WorkBlock())) << line.substr(0, 80);
        }
        EXPECT_EQ(recorder.gpus[0].accepted, 0u);
        EXPECT_EQ(recorder.Line(R"({"method":"mining.notify","params":["ok","a"]})").back(), "post 2405");
        EXPECT_STREQ(recorder.session.WorkBlock().jobId, "ok");
    }
}

// The same member with every kind of value, in every place that is read.
TEST(HostileLines, WrongTypesEverywhere) {
    CSessionRecorder recorder;
    recorder.gpus[0];
    recorder.LogIn(ProtocolMode::Plain);
    recorder.session.Activate();
    std::istringstream values(R"(null true 0 -1 4294967296 1e300 "" "x" [] [[]] {} ["a","b",["c"],{}] {"code":1})");
    for (std::string v; values >> v;) {
        for (const char* const id : {"0", "1", "2", "3", "4", "5", "999", "65537", "null"}) {
            for (const char* const method : {"", "mining.notify", "mining.set_difficulty", "mining.set_extranonce"}) {
                for (const std::string& member :
                     {Join({R"("params":)", v}), Join({R"("params":[)", v, "]"}), Join({R"("result":)", v}),
                      Join({R"("result":[)", v, ",", v, "]"}), Join({R"("error":)", v})}) {
                    recorder.Line(Join({R"({"id":)", id, R"(,"method":")", method, R"(",)", member, "}"}));
                    ASSERT_TRUE(IsSound(recorder.session.WorkBlock())) << id << method << member;
                }
            }
        }
    }
}

TEST(HostileLines, ALongLineIsTakenWhenItIsNotMadeToExhaustTheMemory) {
    CSessionRecorder recorder;
    recorder.LogIn(ProtocolMode::Plain);
    const std::string padding(10'000'000, 'p');
    recorder.Line(Join({R"({"method":"mining.notify","padding":")", padding, R"(","params":["1",")", padding, "\"]}"}));
    EXPECT_STREQ(recorder.session.WorkBlock().jobId, "1");
    EXPECT_EQ(recorder.session.WorkBlock().parameters[0], padding.substr(0, 511));
    recorder.Line(Join({R"({"method":"mining.notify","params":["2",)", Repeat("0,", kMaximumValues), "0]}"}));
    recorder.Line(Join({R"({"method":"mining.notify","params":["3",)", Repeat("[", 70'000), Repeat("]", 70'000), "]}"}));
    EXPECT_STREQ(recorder.session.WorkBlock().jobId, "1");
}

TEST(HostileLines, TheShapeOfALongLineIsSeenThroughItsTexts) {
    const std::string wide = Join({"[", Repeat("[0],", kMaximumValues / 2 - 1), "0]"});
    const std::string spaces(kSmallLine, ' ');
    const std::pair<std::string, bool> cases[] = {{Join({"[\"", Repeat("[", kSmallLine), "\"]"}), true},
                                                  {Join({"[\"", Repeat("\\\"[", kSmallLine), "\"]"}), true},
                                                  {Join({"\"", Repeat("\\\\", kSmallLine), "\\"}), true},
                                                  {wide + wide, false},
                                                  {Repeat("[", kMaximumDepth) + spaces, true},
                                                  {Repeat("[", kMaximumDepth + 1) + spaces, false},
                                                  {Repeat("[", kSmallLine), true}};
    for (const auto& [line, isReasonable] : cases)
        EXPECT_EQ(IsReasonableLine(line), isReasonable) << line.substr(0, 20) << line.size();
}

// Reference values computed from the definition of the generator.
TEST(ClientId, IsTheBytesOfTheGeneratorsFirstDraws) {
    EXPECT_EQ(MakeClientId(5489), L"0xa6aef6f61c196dc91c0fc88bc77a1f40f857e4abb68ceeb59213b94d2dd258f2");
    EXPECT_NE(MakeClientId(), MakeClientId());
}

}  // namespace
