// The reports, byte for byte.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include "RecordingHost.h"
#include "control/StatusReports.h"
#include "mining/TroubleWatch.h"

namespace {

// A is a usual card, B one whose every number is as large as it gets.
struct CReportRig {
    CReportRig() {
        QvGpuRecord& a = host.A();
        a.ccMajor = 8, a.ccMinor = 6, a.multiProcessors = 82, a.coresPerMultiProc = 128, a.totalCores = 10496;
        a.memoryTotal = 25769803776, a.pci.domain = 0, a.pci.bus = 1;
        CopyToField(std::string_view("Card One"), a.name);
        a.temperature = 61, a.fanSpeed = 55, a.memoryUsed = 4294967296, a.coreClock = 1710, a.memoryClock = 9501;
        CMiningStatistics& statistics = a.statistics;
        statistics.hashSpeed = 100, statistics.solSpeed = 2, statistics.accepted = 30, statistics.stale = 4;
        statistics.rejected = 5, statistics.lastTime = 132000000000000000;

        QvGpuRecord& b = host.B();
        b.cudaId = -1, b.memoryTotal = UINT64_MAX, b.pci.domain = UINT32_MAX, b.pci.bus = UINT32_MAX;
        b.ccMajor = b.ccMinor = b.multiProcessors = b.coresPerMultiProc = b.totalCores = INT32_MIN;
        std::fill_n(b.name, sizeof b.name, 'n');  // without a terminator
        b.temperature = b.fanSpeed = b.coreClock = b.memoryClock = b.powerUsage = UINT32_MAX;
        b.memoryUsed = UINT64_MAX;
        CMiningStatistics& extreme = b.statistics;
        extreme.hashSpeed = extreme.solSpeed = extreme.accepted = extreme.stale = extreme.rejected = UINT64_MAX;
        extreme.lastTime = -1;
    }
    CRecordingHost host;
};

const std::string kStaticA =
    R"({"ID":"000102030405060708090a0b0c0d0e0f","Model":"Card One","CUDA-ID":0,"CUDA-Major":8,"CUDA-Minor":6,)"
    R"("MultiProc":82,"CoresPerMultiProc":128,"TotalCores":10496,"Memory":25769803776,"PCI-Dom":0,"PCI-Bus":1})";
const std::string kStaticB = R"({"ID":"ffeeddccbbaa99887766554433221100","Model":")" + std::string(64, 'n') +
                             R"(","CUDA-ID":-1,"CUDA-Major":-2147483648,"CUDA-Minor":-2147483648,"MultiProc":-2147483648,)"
                             R"("CoresPerMultiProc":-2147483648,"TotalCores":-2147483648,"Memory":18446744073709551615,)"
                             R"("PCI-Dom":-1,"PCI-Bus":-1})";
const std::string kDynamicA =
    R"({"ID":"000102030405060708090a0b0c0d0e0f","status":"OK","Temp":61,"Fan":55,"MemInUse":4294967296,"CoreClk":1710,)"
    R"("MemClk":9501,"HashSpeed":100,"SolSpeed":2,"SOK":30,"SS":4,"SR":5,"ST":132000000000000000})";
const std::string kDynamicB =
    R"({"ID":"ffeeddccbbaa99887766554433221100","status":"OK","Temp":4294967295,"Fan":4294967295,)"
    R"("MemInUse":18446744073709551615,"CoreClk":4294967295,"MemClk":4294967295,"Power":4294967295,)"
    R"("HashSpeed":18446744073709551615,"SolSpeed":18446744073709551615,"SOK":18446744073709551615,)"
    R"("SS":18446744073709551615,"SR":18446744073709551615,"ST":18446744073709551615})";

bool IsStrictJson(const std::string& report) {
    rapidjson::Document document;
    return report.ends_with('\n') && !document.Parse<rapidjson::kParseNoFlags>(report.data(), report.size()).HasParseError();
}

TEST(StatusReports, AreTheDescribedBytesForNoneOneAndTwoGpus) {
    const CReportRig rig;
    const std::string system = R"({"cmd":"system","params":{"hostname":"RIG-7","ver":"18.12.50.41","status":"mining",)"
                               R"("GpuStatic":[)";
    const std::string update = R"({"cmd":"update","params":{"status":"stopped","GpuDynamic":[)";
    const std::pair<std::string, std::string> bodies[] = {
        {"", ""}, {kStaticA, kDynamicA}, {kStaticA + "," + kStaticB, kDynamicA + "," + kDynamicB}};
    for (std::size_t count = 0; count <= 2; ++count) {
        const GpuSpan gpus = rig.host.Gpus().first(count);
        EXPECT_EQ(SystemReport(L"RIG-7", true, gpus), system + bodies[count].first + "]}}\n");
        EXPECT_EQ(UpdateReport(false, gpus), update + bodies[count].second + "]}}\n");
        EXPECT_TRUE(IsStrictJson(SystemReport(L"RIG-7", true, gpus)) && IsStrictJson(UpdateReport(false, gpus)));
    }
    EXPECT_NE(SystemReport(L"x", false, {}).find(R"("status":"stopped")"), std::string::npos);
    EXPECT_NE(UpdateReport(true, {}).find(R"("status":"mining")"), std::string::npos);
}

TEST(StatusReports, AHostNameGoesOutInTheCodePage) {
    constexpr std::pair<const wchar_t*, const char*> rows[] = {
        {L"RIG-7", "RIG-7"}, {L"M\u00FCller", "M\xFCller"}, {L"\u30EA\u30B0.1", "??.1"}, {L"a\U0001F600b", "a?b"},
        {L"\xD83D", "?"},    {L"\"x\\y\n\x7F", "?x?y??"},   {L"\uFF02\uFF3C", "??"},     {L"", ""}};
    for (const auto& [name, text] : rows) {
        const std::string report = SystemReport(name, false, {});
        EXPECT_NE(report.find("\"hostname\":\"" + std::string(text) + "\","), std::string::npos) << report;
        EXPECT_TRUE(IsStrictJson(report)) << report;
    }
}

TEST(StatusReports, AnErrorIsOneLineWhateverItsText) {
    struct {
        std::int32_t code;
        std::int64_t time;
        std::string_view text, end;
    } const cases[] = {
        {23, 132000000000000000, "Low difficulty", R"("time":132000000000000000,"id":23,"text":"Low difficulty"}})"},
        {-1, 0, "say \"no\"\\", R"("time":0,"id":-1,"text":"say "no"\"}})"},
        {INT32_MIN, -1, "", R"("time":18446744073709551615,"id":-2147483648,"text":""}})"},
        {1, 1, "a\r\n{}\nb", R"("time":1,"id":1,"text":"a  {} b"}})"},
    };
    for (const auto& [code, time, text, end] : cases) {
        PoolError error;
        error.code = code;
        error.time.ticks = time;
        CopyToField(text, error.text);
        EXPECT_EQ(ErrorReport(error), R"({"cmd":"errorinfo","params":{)" + std::string(end) + "\n");
    }
    PoolError full;
    std::fill_n(full.text, sizeof full.text, 'x');
    EXPECT_NE(ErrorReport(full).find("\"" + std::string(sizeof full.text, 'x') + "\"}}\n"), std::string::npos);

    const PoolError own =
        ErrorOf({TroubleCode::LoginRefused, -1, L"Login refused: \"C:\\new\"\n\x7F\x01", true}, ddt_datetime{1});
    EXPECT_TRUE(IsStrictJson(ErrorReport(own)) && IsStrictJson(ErrorReport(OverError(own, {2})))) << own.text;
}

}  // namespace
