#include "config/ConfigurationXml.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Rig.h"

namespace {

constexpr char kDocument[] =
    R"(<?xml version="1.0" encoding="utf-8"?>
<MinerConfig DefaultWorkerName="rig &quot;1&quot;">
  <Pools>
    <Pool ID="7" Name="M)"
    "\xC3\xBC"
    R"(nze &amp; Co" Server="a.example" Port="4444" WalletUser="0xabc" Password="x" WorkerOverride="over" Algo="2"/>
    <Pool ID="-2" Name="" Server="" Port="65535" WalletUser="" Password="" WorkerOverride="" Algo="-5"/>
  </Pools>
  <Configurations>
    <Config PrimaryPoolID="-2" SecondaryPoolID="-1" GpuAttributs="9223372036854775807" PoolAttributs="3">
      <Gpus>
        <Gpu ID="ffeeddccbbaa99887766554433221100" NGM="-3" NGTO="9223372036854775807"/>
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
    EXPECT_EQ(first.gpus, std::vector<QvGpuRecord*>{&rig.B()});
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
            EXPECT_EQ(report.Text(), length == c.kept
                                         ? L""
                                         : L"not understood: the end of " + NarrowToWide(c.attribute) + L" of " + c.owner);
        }
    }
}

// What a save would lose, and what cannot be meant, is named; what it keeps is not.
TEST(ConfigurationXml, NamesWhatItDoesNotUnderstand) {
    const auto gpu = [](const std::string& id) { return "<Gpu ID=\"" + id + "\"/>"; };
    const auto file = [](const std::string& inside) { return "<MinerConfig>" + inside + "</MinerConfig>"; };
    const std::string pools12 = "PrimaryPoolID=\"1\" SecondaryPoolID=\"2\"";
    struct Case {
        std::string xml;
        std::wstring report;
        std::size_t configurations;
    };
    const Case cases[] = {
        {"<Other/>", L"the root element, which is no MinerConfig", 0},
        {file("<Pools><Pool/><Pool/></Pools>"), L"another pool -1", 0},
        {file("<pools><Pool/></pools><Pools/><Pools/><Configurations/><Configurations/>"),
         L"the element pools of the file; another Pools of the file; another Configurations of the file", 0},
        {file("<Pools><Pol/></Pools>"), L"the element Pol of Pools of the file", 0},
        {OnePool("ID=\"3\" Wallet=\"x\" Port=\"99999\" Algo=\"abc\" Name=\"a\" Name=\"b\""),
         L"the attribute Wallet of pool 3; the second Name of pool 3; Port=\"99999\" of pool 3; Algo=\"abc\" of pool 3", 0},
        {OnePool("ID=\"\" Port=\" 80 \""), L"ID=\"\" of pool 0", 0},
        {OneConfig(pools12, gpu("000102030405060708090A0B0C0D0E0F")), L"", 1},
        {OneConfig(pools12, gpu(kGpuA) + gpu("00\nx") + "<Gpu/>"),
         L"a GPU without a valid ID of configuration 1; a GPU without a valid ID of configuration 1", 1},
        {OneConfig(pools12, gpu("00")), L"a GPU without a valid ID of configuration 1; configuration 1, which has no GPU",
         0},
        {OneConfig(pools12, gpu(kGpuA) + gpu("000102030405060708090A0B0C0D0E0F")),
         L"GPU 000102030405060708090A0B0C0D0E0F of configuration 1, which is named before", 1},
        {OneConfig("", gpu(kGpuA)), L"", 1},
        {OneConfig("GpuAttributs=\"-1\"", "<Gpu ID=\"" + kGpuA + "\" NGM=\"x\"/>"),
         L"GpuAttributs=\"-1\" of configuration 1; NGM=\"x\" of GPU 000102030405060708090a0b0c0d0e0f of configuration 1", 1},
        {OneConfig("PrimaryPoolID=\"7\" SecondaryPoolID=\"-1\"", gpu(kGpuA)),
         L"PrimaryPoolID of configuration 1, which names no pool", 1},
    };
    CRig rig;
    for (const Case& c : cases) {
        CLoadReport report;
        const MinerConfiguration configuration = rig.Read(c.xml, report);
        EXPECT_EQ(report.Text(), c.report.empty() ? L"" : L"not understood: " + c.report) << c.xml;
        EXPECT_EQ(configuration.configurations.size(), c.configurations) << c.xml;
        EXPECT_TRUE(configuration.absentConfigurations.empty()) << c.xml;
    }
}

// A card that is missing costs nothing: what is written is what was read, with every card, with some and with none.
TEST(ConfigurationXml, KeepsAbsentGpusInTheirPlaces) {
    const auto config = [](const std::string& gpus) {
        return "    <Config PrimaryPoolID=\"1\" SecondaryPoolID=\"-1\" GpuAttributs=\"2\" PoolAttributs=\"3\">\n      "
               "<Gpus>\n" +
               gpus + "      </Gpus>\n    </Config>\n";
    };
    const auto gpu = [](const std::string& id, int number) {
        const std::string text = std::to_string(number);
        return "        <Gpu ID=\"" + id + "\" NGM=\"" + text + "\" NGTO=\"" + text + "0\"/>\n";
    };
    const auto absent = [](char digit) { return std::string(32, digit); };
    const std::string b = "ffeeddccbbaa99887766554433221100";
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<MinerConfig DefaultWorkerName=\"host\">\n  <Pools>\n"
        "    <Pool ID=\"1\" Name=\"\" Server=\"\" Port=\"1\" WalletUser=\"\" Password=\"\" "
        "WorkerOverride=\"\" Algo=\"2\"/>\n  </Pools>\n  <Configurations>\n" +
        config(gpu(absent('1'), 1)) +
        config(gpu(absent('2'), 2) + gpu(kGpuA, 3) + gpu(absent('3'), 4) + gpu(absent('4'), 5)) +
        config(gpu(absent('5'), 6)) + config(gpu(absent('6'), 7)) + config(gpu(b, 8)) + config(gpu(absent('0'), 9)) +
        "  </Configurations>\n</MinerConfig>\n";
    for (const std::size_t present : {2u, 1u, 0u}) {
        CRig rig;
        for (std::size_t i = present; i < 2; ++i) {
            rig.records[i].cudaId = -1;  // hidden from CUDA, without an identity
            std::ranges::fill(rig.records[i].uuid, std::uint8_t{0});
        }
        CLoadReport report;
        const MinerConfiguration configuration = rig.Read(text, report);
        EXPECT_TRUE(report.IsEmpty());
        EXPECT_EQ(configuration.configurations.size(), present);
        EXPECT_EQ(configuration.absentConfigurations.size(), 6 - present);
        for (const ConfigurationEntry& entry : configuration.configurations)
            EXPECT_EQ(entry.gpus.size(), 1u);
        EXPECT_EQ(rig.Write(configuration), text) << present;
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
