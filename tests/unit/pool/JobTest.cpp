// Jobs, difficulties and extranonces into the work block.
#include <gtest/gtest.h>
#include <atomic>
#include <cstdlib>
#include <thread>
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
    Events Call(std::string_view method, std::string_view params) {
        return recorder.Line(Join({R"({"id":null,"method":"mining.)", method, R"(","params":)", params, "}"}));
    }
    Events Notify(std::string_view params) { return Call("notify", params); }
    Events Difficulty(std::string_view value) { return Call("set_difficulty", Join({"[", value, "]"})); }

    CSessionRecorder recorder;
    const StratumWorkBlock& block = recorder.session.WorkBlock();
};

TEST_F(Job, IsShownWithTheTimeItCame) {
    EXPECT_FALSE(recorder.session.CurrentJob().time.IsSet());
    Notify(R"(["4f","A"])");
    EXPECT_EQ(recorder.session.CurrentJob().id, "4f");
    EXPECT_EQ(recorder.session.CurrentJob().time, recorder.clock.now);
    recorder.session.Reset();
    EXPECT_EQ(recorder.session.CurrentJob().id, "");
    EXPECT_FALSE(recorder.session.CurrentJob().time.IsSet());
}

TEST(CurrentJob, IsNeverReadHalfWritten) {
    CCurrentJob job;
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (std::int64_t i = 1; i <= 20000; ++i)
            job.Set(std::string(200, static_cast<char>('a' + i % 26)), {i});
        done = true;
    });
    while (!done) {
        const JobInfo info = job.Get();
        if (!info.time.IsSet()) continue;
        EXPECT_EQ(info.id, std::string(127, static_cast<char>('a' + info.time.ticks % 26)));
    }
    writer.join();
}

TEST_F(Job, FillsTheSlotsInOrderAndLeavesNothingOfTheJobBefore) {
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

    Notify(R"(["2","A"])");
    EXPECT_STREQ(block.parameters[0], "A");
    for (std::size_t i = 1; i < std::size(block.parameters); ++i)
        EXPECT_STREQ(block.parameters[i], "") << i;
    for (const auto& slot : block.branches)
        EXPECT_STREQ(slot, "");
}

TEST_F(Job, TakesFifteenParametersAndEightBranches) {
    std::string params = "[\"id\"";
    for (int i = 1; i <= 20; ++i) {
        const std::string list = R"(,["b1","b2","b3","b4","b5","b6","b7","b8","b9"])";
        params += i == 4 ? list : Join({",\"p", std::to_string(i), "\""});
    }
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
    const Case cases[] = {{"0x00ab00", 1, "ab00"}, {"0x", 1, ""},      {"0012", 0, "12"},
                          {"ab0x12", 1, "ab0x12"}, {"0X12", 0, "X12"}, {"", 0, ""}};
    for (const Case& c : cases) {
        EXPECT_EQ(Notify(Join({"[\"", c.id, "\"]"})), Events{"post 2405"});
        EXPECT_EQ(block.prefixFlag, c.flag) << c.id;
        EXPECT_EQ(recorder.session.PrefixFlag(), c.flag == 1) << c.id;
        EXPECT_STREQ(block.bareJobId, c.bare) << c.id;
        EXPECT_TRUE(IsSound(block)) << c.id;
    }
}

TEST_F(Job, TheCleanFlagStaysUnlessTheLastElementIsABoolean) {
    const std::pair<const char*, int> steps[] = {{R"(["1","a",true])", 1},  {R"(["1","a",1])", 1},
                                                 {R"(["1","a",false])", 0}, {R"(["1","a","true"])", 0},
                                                 {R"(["1",true,"a"])", 0},  {R"(["1",true])", 1}};
    for (const auto& [params, flag] : steps) {
        Notify(params);
        EXPECT_EQ(block.cleanJobs, flag) << params;
    }
}

TEST_F(Job, CutsWhatIsLongerThanItsSlot) {
    for (const std::size_t length : {31u, 32u, 127u, 128u, 511u, 512u, 5000u}) {
        const std::string text(length, 'x');
        const std::string quoted = Join({"\"", text, "\""});
        EXPECT_EQ(Notify(Join({"[", quoted, ",", quoted, ",1,1,[", quoted, ",", quoted, "],true]"})), Events{"post 2405"});
        Call("set_extranonce", Join({"[", quoted, "]"}));
        EXPECT_TRUE(IsSound(block)) << length;
        EXPECT_EQ(block.jobId, text.substr(0, 127));
        EXPECT_EQ(block.extranonce, text.substr(0, 31));
        EXPECT_EQ(block.parameters[0], text.substr(0, 511));
        EXPECT_STREQ(block.parameters[1], "");
        EXPECT_EQ(block.branches[1], text.substr(0, 127));
    }
}

TEST_F(Job, ComesInEachShapeThatPoolsUse) {
    int number = 0;
    for (const char* const start : {R"("id":0,"result")", R"("jsonrpc":"2.0","result")", R"("id":4,"error":null,"result")",
                                    R"("id":4,"method":"x","result")", R"("id":999,"method":"mining.notify","params")",
                                    R"("id":null,"method":"MINING.Notify","params")", R"("id":-1,"method":null,"result")",
                                    R"("id":"a","result")", R"("id":4294967296,"result")", R"("id":1e3,"result")"}) {
        const std::string id = "0x" + std::to_string(++number);
        EXPECT_EQ(recorder.Line(Join({"{", start, ":[\"", id, R"(","0xs","0xb"]})"})), Events{"post 2405"}) << start;
        EXPECT_EQ(block.jobId, id) << start;
    }
}

TEST_F(Job, NumbersInPlaceOfTextsAndTextsInPlaceOfNumbersAreUnderstood) {
    EXPECT_EQ(Notify(R"([4711,"a"])"), Events{"post 2405"});
    EXPECT_STREQ(block.jobId, "4711");
    EXPECT_EQ(Difficulty("\"2\""), Events{"post 2406"});
    EXPECT_EQ(recorder.session.Difficulty(), 2.0);
    // A null counts as absent.
    EXPECT_EQ(recorder.Line(R"({"id":0,"method":null,"params":null,"result":["0x5"]})"), Events{"post 2405"});
    EXPECT_STREQ(block.jobId, "0x5");
    EXPECT_EQ(recorder.Line(R"({"id":4,"result":null,"error":{"code":-1,"message":"Work not ready"}})"),
              Events{"pool-error -1 -1 Work not ready"});
}

TEST_F(Job, ADifficultyGivesTheTarget) {
    const std::pair<const char*, std::string> cases[] = {
        {"1", "00000000ffff0000"},
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
        EXPECT_EQ(HexText(block.target), target + std::string(64 - target.size(), '0')) << difficulty;
        EXPECT_EQ(recorder.session.Difficulty(), std::strtod(difficulty, nullptr));
    }
}

TEST_F(Job, OnlyWhatIsValidOrAResetChangesTheBlock) {
    Notify(R"(["77","a",true])");
    Difficulty("1");
    EXPECT_EQ(Call("set_extranonce", R"(["ab\u0000cd",4])"), Events{"post 2407"});
    const std::string target = HexText(block.target);
    // Said once, however often it comes.
    const std::string noJob = "log A job without an id is ignored";
    const std::string noNumber = "log Difficulty ignored: it is no number above 0";
    EXPECT_EQ(Notify("[null]"), Events{noJob});
    for (const char* const params : {"[]", "{}", "null", "\"x\"", "[-5,\"a\"]", "[null]", "[[\"1\"]]", "{\"0\":\"x\"}"}) {
        EXPECT_EQ(Notify(params), Events{}) << params;
        EXPECT_EQ(Call("set_extranonce", params), Events{}) << params;
    }
    EXPECT_EQ(Difficulty("0"), Events{noNumber});
    for (const char* const value :
         {"1", "1.0", "", "null", "true", "\"2x\"", "[2]", "{}", "-0.0", "-1", "-5e-324", "-9223372036854775808"})
        EXPECT_EQ(Difficulty(value), Events{}) << value;
    EXPECT_EQ(Difficulty("1e400"), Events{"log A line that is no JSON object is ignored"});
    EXPECT_EQ(recorder.Line(R"({"method":"mining.set_difficulty","result":[4]})"), Events{noNumber}) << "no result";
    EXPECT_EQ(Call("set_target", R"(["1","2"])"), Events{});
    EXPECT_STREQ(block.jobId, "77");
    EXPECT_STREQ(block.parameters[0], "a");
    EXPECT_STREQ(block.extranonce, "ab");
    EXPECT_EQ(HexText(block.target), target);
    EXPECT_EQ(recorder.session.Difficulty(), 1.0);
    EXPECT_EQ(Call("set_extranonce", R"([""])"), Events{"post 2407"});
    EXPECT_STREQ(block.extranonce, "");
    Call("set_extranonce", R"(["ab"])");
    recorder.session.Reset();
    EXPECT_STREQ(block.jobId, "");
    EXPECT_EQ(block.bareJobId, block.jobId);
    EXPECT_STREQ(block.extranonce, "");
    EXPECT_EQ(HexText(block.target), std::string(64, '0'));
    EXPECT_EQ(block.protocolMode, -1);
    EXPECT_EQ(recorder.session.Difficulty(), 0.0);
    EXPECT_FALSE(recorder.session.IsReady());
}

}  // namespace
