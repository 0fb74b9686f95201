#include <gtest/gtest.h>

#include "common/Hex.h"
#include "devpool_core/HexField.h"
#include "devpool_core/Request.h"
#include "devpool_core/Target.h"
#include "devpool_core/Text.h"

namespace {

TEST(Target, IsTheOneThatAClientDerivesFromAStratumDifficulty) {
    const struct {
        double difficulty;
        const char* leading;
    } rows[] = {
        {1, "00000000ffff000000000000"},
        {2, "000000007fff800000000000"},
        {0.25, "00000003fffc000000000000"},
        {4294967296.0, "0000000000000000ffff0000"},
        {8589934592.0, "00000000000000007fff8000"},
        {2.3283064365386963e-10, "ffff00000000000000000000"},
    };
    for (const auto& row : rows) {
        const std::string expected = row.leading + std::string(40, '0');
        EXPECT_EQ(HexText(BoundaryOfStratumDifficulty(row.difficulty)), expected) << row.difficulty;
    }
}

TEST(Target, IsTheFractionOfAllHashesThatTheDifficultySays) {
    const struct {
        double hashes;
        std::string boundary;
    } rows[] = {
        {1, std::string(64, 'f')},
        {2, "8" + std::string(63, '0')},
        {256, "01" + std::string(62, '0')},
        {3, "5555555555555" + std::string("4") + std::string(50, '0')},
        {1099511627776.0, "0000000001" + std::string(54, '0')},
    };
    for (const auto& row : rows)
        EXPECT_EQ(HexText(BoundaryOfDifficulty(row.hashes)), row.boundary) << row.hashes;
}

TEST(Target, OfAllDialectsMeansTheSameDifficulty) {
    for (const double hashes : {1.0, 2.5, 2000.0, 1e6, 3e9, 5e9, 1e12, 1e15}) {
        EXPECT_NEAR(ExpectedHashes(BoundaryOfDifficulty(hashes)) / hashes, 1, 1e-9) << hashes;
        const Hash256 derived = BoundaryOfStratumDifficulty(StratumDifficultyOf(hashes));
        EXPECT_NEAR(ExpectedHashes(derived) / hashes, 1, 2e-5) << hashes;
    }
}

TEST(HexField, TakesExactlyTheDigitsOfTheField) {
    const struct {
        const char* text;
        bool valid;
    } rows[] = {{"00ff", true},   {"AbCd", true},  {"", false},    {"00f", false},
                {"00ff0", false}, {"0xff", false}, {"00fg", false}};
    for (const auto& row : rows) {
        std::array<std::uint8_t, 2> bytes{};
        EXPECT_EQ(ReadHex(row.text, bytes), row.valid) << row.text;
    }
    std::array<std::uint8_t, 2> bytes{};
    EXPECT_TRUE(ReadHex("a1B2", bytes));
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 2>{0xA1, 0xB2}));
}

TEST(HexField, ReadsHashRatesWithAndWithoutPrefix) {
    EXPECT_EQ(ReadHexNumber("0x" + std::string(63, '0') + "1"), 1.0);
    EXPECT_EQ(ReadHexNumber(std::string(60, '0') + "aBcD"), 43981.0);
    for (const std::string text : {"", "0x", "1g", "-1"})
        EXPECT_FALSE(ReadHexNumber(text)) << text;
    EXPECT_FALSE(ReadHexNumber(std::string(65, '1')));
}

TEST(Request, NamesTheGpuInTheUpperPartOfItsId) {
    const struct {
        const char* id;
        int gpu;
        const char* echoed;
    } rows[] = {
        {"65536", 0, "65536"},    {"65537", 0, "65537"},
        {"131073", 1, "131073"},  {"5", -1, "5"},
        {"-65536", -1, "-65536"}, {"18446744073709551615", -1, "18446744073709551615"},
        {"null", -1, "null"},     {"\"a\\\"b\"", -1, "\"a\\\"b\""},
    };
    for (const auto& row : rows) {
        const auto request = ParseRequest("{\"id\":" + std::string(row.id) + ",\"method\":\"m\"}");
        ASSERT_TRUE(request) << row.id;
        EXPECT_EQ(request->gpu, row.gpu) << row.id;
        EXPECT_EQ(request->id, row.echoed);
    }
}

TEST(Request, IsAnObjectWithMembersOfTheRightTypes) {
    const std::string deep(200'000, '[');
    for (const std::string& line :
         {std::string("x"), std::string(""), std::string("[]"), std::string("7"), std::string(R"({"id":{}})"),
          std::string(R"({"method":7})"), std::string(R"({"params":{}})"), std::string(R"({"worker":[]})"),
          std::string("{\"method\":\"\xFF\"}"), std::string(R"({"params":[1,2,3,4,5,6,7,8,9,0,1,2,3,4,5,6,7]})"), deep,
          R"({"params":)" + deep}) {
        EXPECT_FALSE(ParseRequest(line)) << line.substr(0, 80);
    }
    const auto request = ParseRequest(R"({"params":["a",null,3],"extra":{"x":[1]}})");
    ASSERT_TRUE(request);
    ASSERT_EQ(request->parameters.size(), 3U);
    EXPECT_EQ(request->parameters[0], "a");
    EXPECT_FALSE(request->parameters[1]);
    EXPECT_FALSE(request->parameters[2]);
}

TEST(Text, OfAClientCannotBreakTheOutput) {
    EXPECT_EQ(Printable("a\nb\x1b[31m\xC3\xA4"), "a?b?[31m??");
    EXPECT_EQ(Printable(std::string(1000, 'x')).size(), 64U);
    EXPECT_EQ(RateText(12'345'678), "12.346 MH/s");
    EXPECT_EQ(RateText(7), "7.000 H/s");
}

}  // namespace
