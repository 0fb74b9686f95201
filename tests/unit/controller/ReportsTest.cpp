#include <gtest/gtest.h>

#include "rig/CleanText.h"
#include "rig/GpuRows.h"
#include "rig/ReportParser.h"

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
                                 "[]",
                                 R"({"cmd":"update","params":[]})",
                                 R"({"cmd":"Update","params":{}})",
                                 R"({"cmd":"update","params":{}} x)",
                                 R"({"cmd":"system","params":{"GpuStatic":[{"ID":"00112233445566778899aabbccddeeff",}]}})",
                                 deep,
                                 R"({"cmd":"errorinfo","params":{"time":1,"id":2,"text":"cut)",
                                 Update(std::string(kMaxReportBytes, ' '))};
    for (const std::string& line : lines)
        EXPECT_FALSE(ParseReport(line)) << line.substr(0, 80);
}

TEST(Reports, NamesInTheCodePageOfTheRigAreTaken) {
    const auto report = ParseReport("{\"cmd\":\"system\",\"params\":{\"hostname\":\"B\xC4R\",\"ver\":\"1\"}}");
    ASSERT_TRUE(report);
    EXPECT_EQ(std::get<SystemReport>(*report).hostname, "B\uFFFDR");
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

TEST(Reports, TextIsMadeHarmless) {
    const struct {
        const char* text;
        std::size_t bytes;
        const char* clean;
    } kCases[] = {
        {"Gr\u00FC\u00DFe", 100, "Gr\u00FC\u00DFe"},
        {"a\x07\x7f", 100, "a\uFFFD\uFFFD"},
        {"\u009B31m", 100, "\uFFFD31m"},  // an escape sequence's C1 form
        {"x\u202Ey", 100, "x\uFFFDy"},    // turns the text around
        {"ab\u00FC", 3, "ab"},            // not half a character
    };
    for (const auto& [text, bytes, clean] : kCases)
        EXPECT_EQ(CleanText(text, bytes), clean);
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
