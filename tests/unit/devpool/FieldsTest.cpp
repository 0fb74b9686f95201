#include <gtest/gtest.h>

#include "common/Hex.h"
#include "devpool_core/Request.h"
#include "devpool_core/Target.h"
#include "devpool_core/Text.h"

namespace {

TEST(Target, IsTheFractionOfAllHashesThatTheDifficultySays) {
    const struct {
        Hash256 boundary;
        std::string leading;
        char rest;
    } rows[] = {
        {BoundaryOfStratumDifficulty(1), "00000000ffff", '0'},
        {BoundaryOfStratumDifficulty(0.25), "00000003fffc", '0'},
        {BoundaryOfStratumDifficulty(8589934592.0), "00000000000000007fff8", '0'},
        {BoundaryOfStratumDifficulty(2.3283064365386963e-10), "ffff", '0'},
        {BoundaryOfDifficulty(1), "", 'f'},
        {BoundaryOfDifficulty(256), "01", '0'},
        {BoundaryOfDifficulty(3), "55555555555554", '0'},
        {BoundaryOfDifficulty(1099511627776.0), "0000000001", '0'},
    };
    for (const auto& row : rows)
        EXPECT_EQ(HexText(row.boundary), row.leading + std::string(64 - row.leading.size(), row.rest));
    for (const double hashes : {1.0, 2.5, 1e6, 5e9, 1e15}) {
        EXPECT_NEAR(ExpectedHashes(BoundaryOfDifficulty(hashes)) / hashes, 1, 1e-9) << hashes;
        const Hash256 derived = BoundaryOfStratumDifficulty(StratumDifficultyOf(hashes));
        EXPECT_NEAR(ExpectedHashes(derived) / hashes, 1, 2e-5) << hashes;
    }
}

TEST(Request, NamesTheGpuInTheUpperPartOfItsId) {
    const struct {
        std::string id;
        int gpu;
    } rows[] = {{"65536", 0}, {"131073", 1},     {"5", -1}, {"-65536", -1}, {"18446744073709551615", -1},
                {"null", -1}, {"\"a\\\"b\"", -1}};
    for (const auto& row : rows) {
        const auto request = ParseRequest("{\"id\":" + row.id + ",\"method\":\"m\"}");
        ASSERT_TRUE(request) << row.id;
        EXPECT_EQ(request->gpu, row.gpu) << row.id;
        EXPECT_EQ(request->id, row.id);
    }
}

TEST(Request, IsAnObjectWithMembersOfTheRightTypes) {
    const std::string deep(200'000, '[');
    const std::string lines[] = {"x",
                                 "",
                                 "[]",
                                 "7",
                                 R"({"id":{}})",
                                 R"({"method":7})",
                                 R"({"params":{}})",
                                 R"({"worker":[]})",
                                 "{\"method\":\"\xFF\"}",
                                 std::string("\0\0", 2),
                                 R"({"params":[1,2,3,4,5,6,7,8,9,0,1,2,3,4,5,6,7]})",
                                 deep,
                                 R"({"params":)" + deep};
    for (const std::string& line : lines)
        EXPECT_FALSE(ParseRequest(line)) << line.substr(0, 80);
    EXPECT_TRUE(ParseRequest(R"({"params":["a",null,3],"extra":{"x":[1]}})"));
}

TEST(Text, OfAClientCannotBreakTheOutput) {
    EXPECT_EQ(Printable("a\nb\x1b[31m\xC3\xA4"), "a?b?[31m??");
    EXPECT_EQ(Printable(std::string(1000, 'x')).size(), 64U);
}

}  // namespace
