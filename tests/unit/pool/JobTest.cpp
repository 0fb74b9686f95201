// Jobs, difficulties and extranonces into the work block.
#include <gtest/gtest.h>
#include <cstring>
#include "SessionRecorder.h"
#include "common/Hex.h"

namespace {

using Events = CSessionRecorder::Events;

class Job : public ::testing::Test {
  protected:
    Job() {
        recorder.LogIn(ProtocolMode::Plain);
        recorder.session.Activate();
    }
    Events Notify(const std::string& params) {
        return recorder.Line(Join({R"({"id":null,"method":"mining.notify","params":)", params, "}"}));
    }
    Events Difficulty(const std::string& value) {
        return recorder.Line(Join({R"({"method":"mining.set_difficulty","params":[)", value, "]}"}));
    }
    std::string Target() const { return HexText(block.target); }

    CSessionRecorder recorder;
    const StratumWorkBlock& block = recorder.session.WorkBlock();
};

std::string Quoted(const std::string& text) {
    return Join({"\"", text, "\""});
}

TEST_F(Job, FillsTheSlotsInOrder) {
    EXPECT_EQ(Notify(R"(["4f","prev","cb1","cb2",["m1","m2",7,"m3"],"ver",3,"bits","time",true])"), Events{"post 2405"});
    EXPECT_STREQ(block.jobId, "4f");
    const char* const parameters[] = {"prev", "cb1", "cb2", "ver", "bits", "time", ""};
    for (std::size_t i = 0; i < std::size(parameters); ++i)
        EXPECT_STREQ(block.parameters[i], parameters[i]) << i;
    const char* const branches[] = {"m1", "m2", "m3", ""};
    for (std::size_t i = 0; i < std::size(branches); ++i)
        EXPECT_STREQ(block.branches[i], branches[i]) << i;
    EXPECT_EQ(block.cleanJobs, 1);
    EXPECT_EQ(block.prefixFlag, 0);
}

TEST_F(Job, LeavesNothingOfTheJobBefore) {
    Notify(R"(["1","a","b","c",["m1","m2"],"d"])");
    Notify(R"(["2","A"])");
    EXPECT_STREQ(block.parameters[0], "A");
    for (std::size_t i = 1; i < std::size(block.parameters); ++i)
        EXPECT_STREQ(block.parameters[i], "") << i;
    for (const auto& slot : block.branches)
        EXPECT_STREQ(slot, "");
}

TEST_F(Job, TakesFifteenParametersAndEightBranches) {
    std::string params = "[\"id\"";
    std::string branches;
    for (int i = 1; i <= 9; ++i)
        branches += Join({i == 1 ? "\"b" : ",\"b", std::to_string(i), "\""});
    for (int i = 1; i <= 20; ++i)
        params += i == 4 ? Join({",[", branches, "]"}) : Join({",\"p", std::to_string(i), "\""});
    Notify(params + "]");
    EXPECT_STREQ(block.parameters[13], "p15") << "the list in place 4 is no text";
    EXPECT_STREQ(block.parameters[14], "") << "element 16 is not read";
    EXPECT_STREQ(block.branches[7], "b8");
}

TEST_F(Job, TheJobIdGivesThePrefixFlagAndTheBareId) {
    struct Case {
        const char* id;
        int flag;
        const char* bare;
    };
    const Case cases[] = {{"0x00ab00", 1, "ab00"}, {"0x", 1, ""},      {"0xf", 1, "f"}, {"0012", 0, "12"}, {"000", 0, ""},
                          {"ab0x12", 1, "ab0x12"}, {"0X12", 0, "X12"}, {"", 0, ""},     {"00x1", 1, "x1"}, {"7", 0, "7"}};
    for (const Case& c : cases) {
        EXPECT_EQ(Notify(Join({"[", Quoted(c.id), "]"})), Events{"post 2405"});
        EXPECT_EQ(block.prefixFlag, c.flag) << c.id;
        EXPECT_EQ(recorder.session.PrefixFlag(), c.flag == 1) << c.id;
        EXPECT_STREQ(block.bareJobId, c.bare) << c.id;
        EXPECT_TRUE(IsSound(block)) << c.id;
    }
}

TEST_F(Job, TheCleanFlagStaysUnlessTheLastElementIsABoolean) {
    const std::pair<const char*, int> steps[] = {
        {R"(["1","a",true])", 1},   {R"(["1","a",1])", 1},    {R"(["1","a",null])", 1}, {R"(["1","a",false])", 0},
        {R"(["1","a","true"])", 0}, {R"(["1",true,"a"])", 0}, {R"(["1",true])", 1},     {R"(["1"])", 1}};
    for (const auto& [params, flag] : steps) {
        Notify(params);
        EXPECT_EQ(block.cleanJobs, flag) << params;
    }
}

TEST_F(Job, CutsWhatIsLongerThanItsSlot) {
    for (const std::size_t length : {std::size_t{31}, std::size_t{32}, std::size_t{127}, std::size_t{128}, std::size_t{511},
                                     std::size_t{512}, std::size_t{5000}}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        const std::string quoted = Quoted(text);
        std::string params = Join({"[", quoted});
        for (int i = 1; i < 16; ++i) {
            params += i == 4 ? Join({",[", quoted, ",", quoted, ",1,", quoted, "]"}) : Join({",", quoted});
        }
        EXPECT_EQ(Notify(params + ",true]"), Events{"post 2405"});
        recorder.Line(Join({R"({"method":"mining.set_extranonce","params":[)", quoted, "]}"}));
        EXPECT_TRUE(IsSound(block));
        EXPECT_EQ(block.jobId, text.substr(0, 127));
        EXPECT_EQ(block.extranonce, text.substr(0, 31));
        for (int i = 0; i < 14; ++i)
            EXPECT_EQ(block.parameters[i], text.substr(0, 511)) << i;
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(block.branches[i], text.substr(0, 127)) << i;
        EXPECT_EQ(block.cleanJobs, 1);
    }
}

TEST_F(Job, WhatIsNoJobChangesNothing) {
    Notify(R"(["77","a",true])");
    for (const char* const params : {"[]", "{}", "null", "true", "5", "\"x\"", "[5,\"a\"]", "[null]", "[[\"1\"]]", "[{}]"}) {
        EXPECT_EQ(Notify(params), Events{}) << params;
        EXPECT_STREQ(block.jobId, "77") << params;
        EXPECT_STREQ(block.parameters[0], "a") << params;
    }
}

TEST_F(Job, ComesInEachShapeThatPoolsUse) {
    for (const char* const line :
         {R"({"id":0,"jsonrpc":"2.0","result":["0xh","0xs","0xb"]})", R"({"jsonrpc":"2.0","result":["0xh","0xs","0xb"]})",
          R"({"id":4,"result":["0xh","0xs","0xb"],"error":null})", R"({"id":4,"method":"x","result":["0xh","0xs","0xb"]})",
          R"({"id":999,"method":"mining.notify","params":["0xh","0xs","0xb"]})",
          R"({"id":null,"method":"MINING.Notify","params":["0xh","0xs","0xb"]})",
          R"({"id":-1,"method":null,"result":["0xh","0xs","0xb"]})", R"({"id":"a","result":["0xh","0xs","0xb"]})",
          R"({"id":4294967296,"result":["0xh","0xs","0xb"]})", R"({"id":1e3,"result":["0xh","0xs","0xb"]})"}) {
        CSessionRecorder fresh;
        fresh.LogIn(ProtocolMode::EthProxy);
        fresh.session.Activate();
        EXPECT_EQ(fresh.Line(line), Events{"post 2405"}) << line;
        EXPECT_STREQ(fresh.session.WorkBlock().jobId, "0xh") << line;
        EXPECT_STREQ(fresh.session.WorkBlock().parameters[1], "0xb") << line;
    }
}

TEST_F(Job, OtherMethodsAreIgnored) {
    for (const char* const method : {"mining.set_target", "client.reconnect", "client.show_message", "x"}) {
        EXPECT_EQ(recorder.Line(Join({R"({"id":0,"method":")", method, R"(","params":["1","2"]})"})), Events{}) << method;
    }
    EXPECT_STREQ(block.jobId, "");
}

TEST_F(Job, ADifficultyGivesTheTarget) {
    const std::string zeros(64, '0');
    const std::pair<const char*, std::string> cases[] = {
        {"1", "00000000ffff0000"},
        {"2", "000000007fff8000"},
        {"0.5", "00000001fffe0000"},
        {"1.5", "00000000aaaa0000"},
        {"1e-9", "3b9a8e6535fffe00"},
        {"4294967296", "0000000000000000ffff0000"},
        {"15032385536", "00000000000000004924492492492400"},
        {"1000000000000", "00000000000000000119787e99468e30"},
        {"6.277101735386680764e57", std::string(56, '0') + "ffff0000"},  // 2^192
        {"18446744073709551615", std::string(24, '0') + "ffff0000"},
        {"1e308", ""},
        {"1e-10", std::string(64, 'f')},
        {"5e-324", std::string(64, 'f')},
    };
    for (const auto& [difficulty, target] : cases) {
        EXPECT_EQ(Difficulty(difficulty), Events{"post 2406"}) << difficulty;
        EXPECT_EQ(Target(), target + zeros.substr(target.size())) << difficulty;
        EXPECT_EQ(recorder.session.Difficulty(), std::strtod(difficulty, nullptr));
    }
}

TEST_F(Job, ADifficultyThatIsNoneIsIgnored) {
    Difficulty("1");
    const std::string before = Target();
    EXPECT_EQ(Difficulty("1"), Events{}) << "the same again";
    EXPECT_EQ(Difficulty("1.0"), Events{}) << "the same again";
    for (const char* const value : {"", "null", "true", "\"2\"", "[2]", "{}", "1e400"}) {
        EXPECT_EQ(Difficulty(value), Events{}) << value;
    }
    for (const char* const value : {"0", "-0.0", "-1", "-5e-324", "-9223372036854775808"}) {
        EXPECT_EQ(Difficulty(value), Events{"log Difficulty ignored: it is not above 0"}) << value;
    }
    EXPECT_EQ(recorder.Line(R"({"method":"mining.set_difficulty"})"), Events{});
    EXPECT_EQ(recorder.Line(R"({"method":"mining.set_difficulty","result":[4]})"), Events{}) << "only a job may be a result";
    EXPECT_EQ(Target(), before);
    EXPECT_EQ(recorder.session.Difficulty(), 1.0);
}

TEST_F(Job, AnExtranonceIsAText) {
    EXPECT_EQ(recorder.Line(R"({"method":"mining.set_extranonce","params":["ab\u0000cd",4]})"), Events{"post 2407"});
    EXPECT_STREQ(block.extranonce, "ab");
    for (const char* const params : {"[]", "[5]", "[null]", "[[\"x\"]]", "{\"0\":\"x\"}", "\"x\"", "null"}) {
        EXPECT_EQ(recorder.Line(Join({R"({"method":"mining.set_extranonce","params":)", params, "}"})), Events{}) << params;
    }
    EXPECT_STREQ(block.extranonce, "ab");
    EXPECT_EQ(recorder.Line(R"({"method":"mining.set_extranonce","params":[""]})"), Events{"post 2407"});
    EXPECT_STREQ(block.extranonce, "");
}

TEST_F(Job, AResetLeavesNothingOfIt) {
    Notify(R"(["77","a",true])");
    Difficulty("1");
    recorder.Line(R"({"method":"mining.set_extranonce","params":["ab"]})");
    recorder.session.Reset();
    EXPECT_STREQ(block.jobId, "");
    EXPECT_EQ(block.bareJobId, block.jobId);
    EXPECT_STREQ(block.extranonce, "");
    EXPECT_EQ(Target(), std::string(64, '0'));
    EXPECT_EQ(block.protocolMode, -1);
    EXPECT_EQ(recorder.session.Difficulty(), 0.0);
    EXPECT_FALSE(recorder.session.IsReady());
    EXPECT_TRUE(IsSound(block));
}

}  // namespace
