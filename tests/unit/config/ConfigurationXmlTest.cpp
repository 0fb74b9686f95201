#include "config/ConfigurationXml.h"

#include <gtest/gtest.h>

#include "Rig.h"

namespace {

constexpr char kDocument[] =
    R"(<?xml version="1.0" encoding="utf-8"?>
<MinerConfig DefaultWorkerName="rig &quot;1&quot;">
  <Pools>
    <Pool ID="7" Name="M)"
    "\xC3\xBC"
    R"(nze &amp; Co" Server="a.example" Port="4444" WalletUser="0xabc" Password="x" WorkerOverride="over" Algo="2"/>
    <Pool ID="-2" Name="" Server="" Port="4294967295" WalletUser="" Password="" WorkerOverride="" Algo="-5"/>
  </Pools>
  <Configurations>
    <Config PrimaryPoolID="-2" SecondaryPoolID="-1" GpuAttributs="9223372036854775807" PoolAttributs="3">
      <Gpus>
        <Gpu ID="ffeeddccbbaa99887766554433221100" NGM="-3" NGTO="9223372036854775807"/>
        <Gpu ID="000102030405060708090a0b0c0d0e0f" NGM="0" NGTO="12"/>
      </Gpus>
    </Config>
    <Config PrimaryPoolID="7" SecondaryPoolID="7" GpuAttributs="0" PoolAttributs="0">
      <Gpus>
        <Gpu ID="000102030405060708090a0b0c0d0e0f" NGM="0" NGTO="12"/>
      </Gpus>
    </Config>
  </Configurations>
</MinerConfig>
)";

TEST(ConfigurationXml, ReadsReferencesAndWritesTheSameBytes) {
    CRig rig;
    rig.A().NGM = 41;
    CLoadReport report;
    const MinerConfiguration configuration = rig.Read(kDocument, report);
    EXPECT_TRUE(report.IsEmpty());
    EXPECT_EQ(rig.A().NGM, 41);
    EXPECT_EQ(ReadAssignedPool(rig.A()), rig.unassignedPool.get());

    ASSERT_EQ(configuration.pools.size(), 2u);
    ASSERT_EQ(configuration.configurations.size(), 2u);
    const ConfigurationEntry& first = configuration.configurations[0];
    EXPECT_EQ(first.primaryPool, configuration.pools[1]);
    EXPECT_EQ(first.secondaryPool, rig.unassignedPool);
    EXPECT_EQ(first.gpus, (std::vector<QvGpuRecord*>{&rig.B(), &rig.A()}));
    EXPECT_STREQ(configuration.pools[0]->algorithm->name, L"Two");
    EXPECT_STREQ(configuration.pools[1]->algorithm->name, L"Unknown");
    EXPECT_EQ(configuration.pools[1]->algorithm->libraryPath[0], L'\0');
    EXPECT_STREQ(rig.unassignedPool->algorithm->name, L"Zero");
    EXPECT_STREQ(MakeUnassignedPool(CAlgorithmList())->Name, L"Unassigned - not used");

    EXPECT_EQ(rig.Write(configuration), kDocument);
}

// Absent, odd and too large values, seen in what is saved.
TEST(ConfigurationXml, SavesWhatItUnderstood) {
    const std::string gpu = "<Gpu ID=\"" + kGpuA + "\" ", large = "=\"18446744073709551615\"",
                      top = "=\"9223372036854775807\"";
    const auto pool = [](const char* id, const char* port, const char* algo) {
        return std::string("<Pool ID=\"") + id + "\" Name=\"\" Server=\"\" Port=\"" + port +
               "\" WalletUser=\"\" Password=\"\" WorkerOverride=\"\" Algo=\"" + algo + "\"/>";
    };
    const std::pair<std::string, std::string> rows[] = {
        {"<MinerConfig/>", "DefaultWorkerName=\"host\""},
        {"<MinerConfig DefaultWorkerName=\"\"/>", "DefaultWorkerName=\"\""},
        {OnePool(""), pool("-1", "8080", "0")},
        {OnePool("ID=\"5\" ID=\"6\" Port=\"1\""), pool("5", "1", "0")},
        {OnePool("ID=\"\" Port=\"\" Algo=\"\""), pool("0", "0", "0")},
        {OnePool("ID=\" +12abc\" Port=\"x\" Algo=\"-7 8\""), pool("12", "0", "-7")},
        {OnePool("ID=\"99999999999\" Port=\"99999999999\" Algo=\"-99999999999\""),
         pool("2147483647", "4294967295", "-2147483648")},
        {OnePool("ID=\"4294967295\" Port=\"-1\""), pool("2147483647", "4294967295", "0")},
        {"<MinerConfig><Pools><Pool ID=\"3\" Port=\"1\"/><Pool ID=\"3\"/><Pool ID=\"4\"/></Pools><Pools><Pool/></Pools>"
         "</MinerConfig>",
         "<Pools>\n    " + pool("3", "1", "0") + "\n    " + pool("4", "8080", "0") + "\n  </Pools>"},
        {OnePool("id=\"5\" port=\"6\" ALGO=\"7\""), pool("-1", "8080", "0")},
        {OneConfig("PrimaryPoolID=\"7\" SecondaryPoolID=\"1\"", gpu + "/>"),
         "PrimaryPoolID=\"-1\" SecondaryPoolID=\"1\" GpuAttributs=\"0\" PoolAttributs=\"0\""},
        {OneConfig("GpuAttributs" + large + " PoolAttributs=\"-1\"", gpu + "NGTO" + large + " NGM=\"9999999999\"/>"),
         "GpuAttributs" + top + " PoolAttributs" + large + ">\n      <Gpus>\n        " + gpu + "NGM=\"2147483647\" NGTO" +
             top},
        {OneConfig("", gpu + "NGTO=\"-1\"/>"), "NGTO" + large},
    };
    for (const auto& [xml, saved] : rows) {
        CRig rig;
        CLoadReport report;
        EXPECT_NE(rig.Write(rig.Read(xml, report)).find(saved), std::string::npos) << xml;
    }
}

TEST(ConfigurationXml, CutsOverlongTextAndSaysSo) {
    struct Case {
        std::string before, attribute;
        std::size_t kept;
        std::wstring owner = L"pool 3";
        std::string after = "/></Pools></MinerConfig>";
    };
    const std::string pool = "<MinerConfig><Pools><Pool ID=\"3\" ";
    const Case cases[] = {
        {pool, "Name", 63},     {pool, "Server", 259},        {pool, "WalletUser", 259},
        {pool, "Password", 63}, {pool, "WorkerOverride", 31}, {"<MinerConfig ", "DefaultWorkerName", 17, L"the file", "/>"},
    };
    for (const Case& c : cases) {
        for (const std::size_t length : {c.kept, c.kept + 1, std::size_t{300}}) {
            const auto attribute = [&](std::size_t size) { return c.attribute + "=\"" + std::string(size, 'x') + '"'; };
            CRig rig;
            CLoadReport report;
            const std::string saved = rig.Write(rig.Read(c.before + attribute(length) + c.after, report));
            EXPECT_NE(saved.find(attribute(c.kept)), std::string::npos) << saved;
            EXPECT_EQ(report.Text(),
                      length == c.kept ? L"" : L"the end of " + NarrowToWide(c.attribute) + L" of " + c.owner);
        }
    }
}

// What a save would lose is named; what it keeps is not.
TEST(ConfigurationXml, NamesWhatItDropped) {
    const auto gpu = [](const std::string& id) { return "<Gpu ID=\"" + id + "\"/>"; };
    const std::string absent(32, '1');
    const std::string pools12 = "PrimaryPoolID=\"1\" SecondaryPoolID=\"2\"";
    struct Case {
        std::string xml;
        std::wstring report;
        std::size_t configurations;
    };
    const Case cases[] = {
        {"<Other/>", L"the root element, which is no MinerConfig", 0},
        {"<MinerConfig><Pools><Pool/><Pool/></Pools></MinerConfig>", L"another pool -1", 0},
        {OneConfig(pools12, gpu("000102030405060708090A0B0C0D0E0F")), L"", 1},
        {OneConfig(pools12, gpu(absent)), L"configuration 1, none of whose GPUs is present", 0},
        {OneConfig(pools12, gpu(kGpuA) + gpu(absent)),
         L"GPU 11111111111111111111111111111111 of configuration 1, which is not present", 1},
        {OneConfig(pools12, gpu(kGpuA) + gpu("00\nx")), L"GPU without a valid ID of configuration 1, which is not present",
         1},
        {OneConfig(pools12, gpu(kGpuA) + "<Gpu/>"), L"GPU without a valid ID of configuration 1, which is not present", 1},
        {OneConfig("", gpu(kGpuA)), L"", 1},
        {OneConfig("PrimaryPoolID=\"7\" SecondaryPoolID=\"-1\"", gpu(kGpuA)),
         L"PrimaryPoolID of configuration 1, which names no pool", 1},
    };
    CRig rig;
    for (const Case& c : cases) {
        CLoadReport report;
        const MinerConfiguration configuration = rig.Read(c.xml, report);
        EXPECT_EQ(report.Text(), c.report) << c.xml;
        EXPECT_EQ(configuration.configurations.size(), c.configurations) << c.xml;
        CLoadReport second;
        rig.Read(rig.Write(configuration), second);
        EXPECT_TRUE(second.IsEmpty()) << c.xml;
    }
}

TEST(ConfigurationXml, KeepsTheReportShort) {
    CLoadReport report;
    for (int i = 0; i < 1000; ++i)
        report.Dropped(L"pool");
    EXPECT_TRUE(report.Text().ends_with(L"; pool; 988 more"));
    EXPECT_LT(report.Text().size(), 200u);
}

TEST(ConfigurationXml, FindsTheListedPoolOfIdMinusOneFirst) {
    CRig rig;
    CLoadReport report;
    const std::string config = "<Config PrimaryPoolID=\"-1\"><Gpus><Gpu ID=\"" + kGpuA + "\"/></Gpus></Config>";
    const auto read = rig.Read(
        "<MinerConfig><Pools><Pool Name=\"listed\"/></Pools><Configurations>" + config + "</Configurations></MinerConfig>",
        report);
    ASSERT_EQ(read.configurations.size(), 1u);
    EXPECT_STREQ(read.configurations[0].primaryPool->Name, L"listed");
    EXPECT_EQ(read.configurations[0].secondaryPool, rig.unassignedPool);  // no attribute at all
}

}  // namespace
