#include <gtest/gtest.h>

#include "quorvel_control/CleanText.h"
#include "quorvel_control/GpuRows.h"
#include "quorvel_control/ReportParser.h"

namespace {

constexpr const char* kId = "00112233445566778899aabbccddeeff";

std::string Update(const std::string& gpu) {
    return R"({"cmd":"update","params":{"status":"mining","GpuDynamic":[)" + gpu + "]}}";
}

GpuDynamic OnlyGpu(const std::string& members) {
    const auto report = ParseReport(Update(R"({"ID":")" + std::string(kId) + "\"" + members + "}"));
    const auto* const update = report ? std::get_if<UpdateReport>(&*report) : nullptr;
    if (!update || update->gpus.size() != 1) {
        ADD_FAILURE() << members;
        return {};
    }
    return update->gpus.front();
}

TEST(Reports, SystemReportOfTwoGpus) {
    const auto report = ParseReport(
        R"({"cmd":"system","params":{"hostname":"RIG","ver":"18.12.50.41","status":"stopped","GpuStatic":[)"
        R"({"ID":"00112233445566778899aabbccddeeff","Model":"Card A","CUDA-ID":0,"CUDA-Major":8,"CUDA-Minor":6,"MultiProc":46,)"
        R"("CoresPerMultiProc":128,"TotalCores":5888,"Memory":8589934592,"PCI-Dom":0,"PCI-Bus":1,},)"
        R"({"ID":"ffeeddccbbaa99887766554433221100","Model":"Card B","CUDA-ID":1,"Memory":4294967296,"PCI-Bus":2}]}})"
        "\r");
    ASSERT_TRUE(report);
    const auto& system = std::get<SystemReport>(*report);
    EXPECT_EQ(system.hostname, "RIG");
    EXPECT_EQ(system.version, "18.12.50.41");
    EXPECT_EQ(system.status, MiningStatus::Stopped);
    ASSERT_EQ(system.gpus.size(), 2u);
    EXPECT_EQ(system.gpus[0].memory, 8589934592u);
    EXPECT_EQ(system.gpus[1].id, "ffeeddccbbaa99887766554433221100");
    EXPECT_EQ(system.gpus[1].totalCores, std::nullopt);
}

TEST(Reports, FiguresThatAreNoneAreLeftOut) {
    const GpuDynamic gpu =
        OnlyGpu(R"(,"status":"OK","Temp":61,"Fan":-1,"MemInUse":18446744073709551615,"CoreClk":"1700","MemClk":null,)"
                R"("HashSpeed":18446744073709551616,"SOK":1.5,"SS":[],"SR":{},"ST":true)");
    EXPECT_EQ(gpu.temperature, 61u);
    EXPECT_EQ(gpu.memoryUsed, 18446744073709551615u);
    for (const auto& absent : {gpu.fan, gpu.coreClock, gpu.memoryClock, gpu.power, gpu.hashSpeed, gpu.accepted, gpu.stale,
                               gpu.rejected, gpu.lastResult})
        EXPECT_EQ(absent, std::nullopt);
}

TEST(Reports, LinesThatAreNoReports) {
    const std::string deep = R"({"cmd":"update","params":)" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
    const std::string lines[] = {"",
                                 " ",
                                 "null",
                                 "[]",
                                 "7",
                                 "{",
                                 R"({"cmd":"update"})",
                                 R"({"cmd":"update","params":[]})",
                                 R"({"cmd":["update"],"params":{}})",
                                 R"({"cmd":"other","params":{}})",
                                 R"({"cmd":"Update","params":{}})",
                                 R"({"cmd":"update","params":{}} x)",
                                 R"({"cmd":"update","params":{"x":1e999}})",
                                 deep,
                                 R"({"cmd":"errorinfo","params":{"time":1,"id":2,"text":"cut)",
                                 Update(std::string(kMaxReportBytes, ' ')),
                                 std::string("\0\0\0", 3),
                                 "\xff\xfe\xfd"};
    for (const std::string& line : lines)
        EXPECT_FALSE(ParseReport(line)) << line.substr(0, 80);
}

TEST(Reports, GpusWithoutProperIdAndTooManyOfThem) {
    std::string gpus = R"({"Temp":1},7,null,{"ID":5},{"ID":"xyz"},{"ID":"0011"})";
    for (std::size_t i = 0; i < kMaxReportGpus + 5; ++i)
        gpus += std::string(R"(,{"ID":")") + kId + "\"}";
    const auto report = ParseReport(Update(gpus));
    ASSERT_TRUE(report);
    EXPECT_EQ(std::get<UpdateReport>(*report).gpus.size(), kMaxReportGpus);
    const auto wrongList = ParseReport(R"({"cmd":"update","params":{"status":1,"GpuDynamic":{"a":1}}})");
    ASSERT_TRUE(wrongList);
    EXPECT_EQ(std::get<UpdateReport>(*wrongList).status, MiningStatus::Unknown);
    EXPECT_TRUE(std::get<UpdateReport>(*wrongList).gpus.empty());
}

TEST(Reports, ErrorTextsThatBreakTheJson) {
    const struct {
        const char* line;
        const char* text;
        std::int64_t code;
    } kCases[] = {
        {R"({"cmd":"errorinfo","params":{"time":133456789012345678,"id":23,"text":"Low difficulty"}})", "Low difficulty",
         23},
        {R"({"cmd":"errorinfo","params":{"time":133456789012345678,"id":-1,"text":"say "no" to \x"}})", "say \"no\" to \\x",
         -1},
        {R"({"cmd":"errorinfo","params":{"time":133456789012345678,"id":0,"text":"""}})", "\"", 0},
        {"{\"cmd\":\"errorinfo\",\"params\":{\"time\":133456789012345678,\"id\":5,\"text\":\"a\x1b[31m\xe4\"}}",
         "a\xEF\xBF\xBD[31m\xEF\xBF\xBD", 5},
    };
    for (const auto& [line, text, code] : kCases) {
        const auto report = ParseReport(line);
        ASSERT_TRUE(report && std::holds_alternative<ErrorReport>(*report)) << line;
        const auto& error = std::get<ErrorReport>(*report);
        EXPECT_EQ(error.text, text);
        EXPECT_EQ(error.code, code);
        EXPECT_EQ(UnixSeconds(error.time), 1701205301);
    }
}

TEST(Reports, TimesBeforeTheEpochAreNone) {
    EXPECT_EQ(UnixSeconds(0), std::nullopt);
    EXPECT_EQ(UnixSeconds(116'444'736'000'000'000), 0);
    EXPECT_GT(UnixSeconds(~std::uint64_t{0}), 0);
}

TEST(Reports, TextIsMadeHarmless) {
    EXPECT_EQ(CleanText("Gr\xC3\xBC\xC3\x9F"
                        "e",
                        100),
              "Gr\xC3\xBC\xC3\x9F"
              "e");
    EXPECT_EQ(CleanText("a\x07\x7f", 100), "a\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(CleanText("\xC2\x9B"
                        "31m",
                        100),
              "\xEF\xBF\xBD"
              "31m");                                               // an escape sequence's C1 form
    EXPECT_EQ(CleanText("x\xE2\x80\xAEy", 100), "x\xEF\xBF\xBDy");  // turns the text around
    EXPECT_EQ(CleanText("ab\xC3\xBC", 3), "ab");                    // not half a character
}

TEST(Reports, RowsJoinBothReportsByIdWhateverTheOrder) {
    SystemReport system;
    system.gpus.resize(3);
    for (std::size_t i = 0; i < 3; ++i)
        system.gpus[i].id = std::to_string(i);
    UpdateReport update;
    update.gpus.resize(3);
    update.gpus[0].id = "2";
    update.gpus[1].id = "1";
    update.gpus[2].id = "new";
    const auto rows = GpuRows(&system, &update);
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[0].live, nullptr);
    EXPECT_EQ(rows[1].live, &update.gpus[1]);
    EXPECT_EQ(rows[2].live, &update.gpus[0]);
    EXPECT_EQ(rows[3].fixed, nullptr);
}

}  // namespace
