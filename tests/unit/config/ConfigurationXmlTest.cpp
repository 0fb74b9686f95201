#include "config/ConfigurationXml.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Rig.h"
#include "common/CodePage.h"
#include "config/PublishedConfiguration.h"

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

TEST(ConfigurationXml, WritesTheBytesItRead) {
    CRig rig;
    CPublishedConfiguration published(rig.gpus, rig.unassignedPool);
    CLoadReport report;
    published.Publish(rig.Read(kDocument, report));
    EXPECT_EQ(WriteText(*published.Current()), kDocument);
    EXPECT_TRUE(report.IsEmpty());
}

TEST(ConfigurationXml, ResolvesReferences) {
    CRig rig;
    const MinerConfiguration configuration = rig.Read(kDocument);
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
}

TEST(ConfigurationXml, ReadingTouchesNoGpuRecord) {
    CRig rig;
    rig.A().NGM = 41;
    rig.A().NGTO = 42;
    const MinerConfiguration configuration = rig.Read(kDocument);
    EXPECT_EQ(rig.A().NGM, 41);
    EXPECT_EQ(rig.A().NGTO, 42u);
    EXPECT_EQ(rig.A().assignedPool, rig.unassignedPool.get());
}

TEST(ConfigurationXml, ReadsPoolsWithDefaultsAndCRuntimeNumbers) {
    struct Case {
        const char* attributes;
        std::uint32_t id, port;
        std::int32_t algo;
    };
    const Case cases[] = {
        {"Name=\"n\"", kUnassignedPoolId, 8080, 0},
        {"ID=\"5\" ID=\"6\" Port=\"1\"", 5, 1, 0},
        {"ID=\"\" Port=\"\" Algo=\"\"", 0, 0, 0},
        {"ID=\" +12abc\" Port=\"x\" Algo=\"-7 8\"", 12, 0, -7},
        {"ID=\"99999999999\" Port=\"99999999999\" Algo=\"-99999999999\"", 0x7FFFFFFF, 0xFFFFFFFF, INT32_MIN},
        {"ID=\"4294967295\" Port=\"-1\"", 0x7FFFFFFF, 0xFFFFFFFF, 0},
        {"id=\"5\" port=\"6\" ALGO=\"7\"", kUnassignedPoolId, 8080, 0},
    };
    CRig rig;
    for (const Case& c : cases) {
        const MinerConfiguration configuration = rig.Read(OnePool(c.attributes));
        ASSERT_EQ(configuration.pools.size(), 1u) << c.attributes;
        EXPECT_EQ(configuration.pools[0]->ID, c.id) << c.attributes;
        EXPECT_EQ(configuration.pools[0]->Port, c.port) << c.attributes;
        EXPECT_EQ(configuration.pools[0]->Algo, c.algo) << c.attributes;
    }
}

TEST(ConfigurationXml, CutsOverlongTextAndSaysSo) {
    const std::string text(300, 'x');
    struct Case {
        const char* attribute;
        std::size_t kept;
        std::wstring (*field)(const PoolEntry&);
    };
    const Case cases[] = {
        {"Name", 63, [](const PoolEntry& pool) { return std::wstring(pool.Name); }},
        {"Server", 259, [](const PoolEntry& pool) { return std::wstring(pool.Server); }},
        {"WalletUser", 259, [](const PoolEntry& pool) { return std::wstring(pool.WalletUser); }},
        {"Password", 63, [](const PoolEntry& pool) { return std::wstring(pool.Password); }},
        {"WorkerOverride", 31, [](const PoolEntry& pool) { return std::wstring(pool.WorkerOverride); }},
    };
    CRig rig;
    for (const Case& c : cases) {
        for (const std::size_t length : {c.kept, c.kept + 1, text.size()}) {
            CLoadReport report;
            const std::string attribute = std::string(c.attribute) + "=\"" + text.substr(0, length) + "\"";
            const MinerConfiguration configuration = rig.Read(OnePool("ID=\"3\" " + attribute), report);
            EXPECT_EQ(c.field(*configuration.pools.at(0)), std::wstring(c.kept, L'x')) << c.attribute;
            const std::wstring cut = L"the end of " + NarrowToWide(c.attribute) + L" of pool 3";
            EXPECT_EQ(report.Text(), length == c.kept ? L"" : cut);
        }
    }
    CLoadReport report;
    EXPECT_STREQ(rig.Read("<MinerConfig DefaultWorkerName=\"12345678901234567x\"/>", report).DefaultWorkerName,
                 L"12345678901234567");
    EXPECT_EQ(report.Text(), L"the end of DefaultWorkerName of the file");
}

// What a save would lose is named; what it keeps is not.
TEST(ConfigurationXml, NamesWhatItDropped) {
    const auto gpu = [](const std::string& id) { return "<Gpu ID=\"" + id + "\"/>"; };
    const std::string pools12 = "PrimaryPoolID=\"1\" SecondaryPoolID=\"2\"";
    struct Case {
        std::string xml;
        std::wstring report;
        std::size_t configurations;
    };
    const Case cases[] = {
        {"<MinerConfig/>", L"", 0},
        {"<Other/>", L"the root element, which is no MinerConfig", 0},
        {"<MinerConfig><Pools><Pool ID=\"3\"/><Pool ID=\"3\"/></Pools></MinerConfig>", L"another pool 3", 0},
        {"<MinerConfig><Pools><Pool/><Pool/></Pools></MinerConfig>", L"another pool -1", 0},
        {OneConfig(pools12, gpu(kGpuA)), L"", 1},
        {OneConfig(pools12, gpu("000102030405060708090A0B0C0D0E0F")), L"", 1},
        {OneConfig(pools12, gpu(kAbsentGpu)), L"configuration 1, none of whose GPUs is present", 0},
        {OneConfig(pools12, ""), L"configuration 1, none of whose GPUs is present", 0},
        {OneConfig(pools12, gpu(kGpuA) + gpu(kAbsentGpu)),
         L"GPU 11111111111111111111111111111111 of configuration 1, which is not present", 1},
        {OneConfig(pools12, gpu(kGpuA) + gpu("00\nx") + "<Gpu/>"),
         L"GPU without a valid ID of configuration 1, which is not present; "
         L"GPU without a valid ID of configuration 1, which is not present",
         1},
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
        rig.Read(WriteText(configuration), second);
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

TEST(ConfigurationXml, KeepsTheFirstPoolOfAnId) {
    CRig rig;
    const MinerConfiguration configuration = rig.Read(
        "<MinerConfig><Pools><Pool ID=\"3\" Name=\"a\"/><Pool ID=\"3\" Name=\"b\"/><Pool ID=\"4\" Name=\"c\"/></Pools>"
        "<Pools><Pool ID=\"5\"/></Pools></MinerConfig>");
    ASSERT_EQ(configuration.pools.size(), 2u);
    EXPECT_STREQ(configuration.pools[0]->Name, L"a");
    EXPECT_STREQ(configuration.pools[1]->Name, L"c");
}

TEST(ConfigurationXml, FindsTheListedPoolOfIdMinusOneFirst) {
    CRig rig;
    const std::string gpus = std::string("<Gpus><Gpu ID=\"") + kGpuA + "\"/></Gpus>";
    const MinerConfiguration configuration =
        rig.Read("<MinerConfig><Pools><Pool Name=\"listed\"/></Pools><Configurations><Config PrimaryPoolID=\"-1\">" + gpus +
                 "</Config></Configurations></MinerConfig>");
    ASSERT_EQ(configuration.configurations.size(), 1u);
    EXPECT_STREQ(configuration.configurations[0].primaryPool->Name, L"listed");
    EXPECT_EQ(configuration.configurations[0].secondaryPool, rig.unassignedPool);  // no attribute at all
}

TEST(ConfigurationXml, WritesAnUnknownPoolAsUnassigned) {
    CRig rig;
    const std::string text = WriteText(
        rig.Read(OneConfig("PrimaryPoolID=\"7\" SecondaryPoolID=\"1\"", std::string("<Gpu ID=\"") + kGpuA + "\"/>")));
    EXPECT_NE(text.find("PrimaryPoolID=\"-1\" SecondaryPoolID=\"1\" GpuAttributs=\"0\" PoolAttributs=\"0\""),
              std::string::npos)
        << text;
}

TEST(ConfigurationXml, SaturatesWordsAtTheSignedMaximum) {
    const std::string above = "18446744073709551615";
    CRig rig;
    CPublishedConfiguration published(rig.gpus, rig.unassignedPool);
    published.Publish(
        rig.Read(OneConfig("GpuAttributs=\"" + above + "\" PoolAttributs=\"-1\"",
                           std::string("<Gpu NGTO=\"") + above + "\" NGM=\"9999999999\" ID=\"" + kGpuA + "\"/>")));
    const ConfigurationEntry& entry = published.Current()->configurations.at(0);
    EXPECT_EQ(entry.GpuAttributs, 0x7FFFFFFFFFFFFFFFu);
    EXPECT_EQ(entry.PoolAttributs, UINT64_MAX);
    EXPECT_EQ(rig.A().NGTO, 0x7FFFFFFFFFFFFFFFu);
    EXPECT_EQ(rig.A().NGM, 0x7FFFFFFF);
    rig.A().NGTO = UINT64_MAX;
    EXPECT_NE(WriteText(*published.Current()).find("NGTO=\"" + above + "\""), std::string::npos);
}

TEST(ConfigurationXml, LeavesTheWorkerNameWhenTheFileHasNone) {
    CRig rig;
    CLoadReport report;
    CConfigurationBuilder builder = rig.Builder();
    CopyToField(std::wstring_view(L"host"), builder.configuration.DefaultWorkerName);
    ReadConfiguration(XML_NODE{0, kConfigurationRoot, {}, {}}, builder, report);
    EXPECT_STREQ(builder.configuration.DefaultWorkerName, L"host");
    ReadConfiguration(XML_NODE{0, kConfigurationRoot, {{"DefaultWorkerName", ""}}, {}}, builder, report);
    EXPECT_STREQ(builder.configuration.DefaultWorkerName, L"");
}

}  // namespace
