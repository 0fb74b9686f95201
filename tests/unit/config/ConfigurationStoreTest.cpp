#include "config/ConfigurationStore.h"

#include <gtest/gtest.h>

#include "Rig.h"
#include "SettingsFolder.h"
#include "common/Handle.h"

namespace {

const std::wstring kFile = L"ConfigMiner.xml";
const std::wstring kBak = L"ConfigMiner.xml.bak";
const std::wstring kBad = L"ConfigMiner.xml.bad";
const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const std::string kEmpty =
    kDeclaration + "<MinerConfig DefaultWorkerName=\"host\">\n  <Pools/>\n  <Configurations/>\n</MinerConfig>\n";

class ConfigurationStoreTest : public testing::Test {
  protected:
    ConfigurationStoreTest() { m_store.SetDefaultWorkerName(L"host"); }

    MinerConfiguration WithPool(std::uint32_t id) {
        CConfigurationBuilder builder = m_store.MakeBuilder();
        PoolEntry pool;
        pool.ID = id;
        builder.AddPool(pool);
        return builder.configuration;
    }

    CSettingsFolder m_folder;
    CRig m_rig;
    std::vector<std::wstring> m_log;
    CConfigurationStore m_store{m_folder.Path(), m_rig.algorithms, m_rig.gpus,
                                [this](const std::wstring& line) { m_log.push_back(line); }};
};

TEST_F(ConfigurationStoreTest, SavesNothingThatWasNeverLoaded) {
    m_folder.Write(kFile, "<MinerConfig/>");
    m_store.SetDefaultWorkerName(L"other");
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kFile), "<MinerConfig/>");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(ConfigurationStoreTest, CreatesAMissingFile) {
    m_store.SetDefaultWorkerName(L"a host name of many characters");
    m_store.Load();
    EXPECT_STREQ(m_store.Current()->DefaultWorkerName, L"a host name of ma");
    m_store.SetDefaultWorkerName(L"host");
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kFile), kEmpty);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(ConfigurationStoreTest, LeavesAnUnchangedFileAlone) {
    m_folder.Write(kFile, WriteText(m_rig.Read(OneConfig("PrimaryPoolID=\"1\" SecondaryPoolID=\"2\"",
                                                         std::string("<Gpu ID=\"") + kGpuA + "\" NGM=\"0\" NGTO=\"0\"/>"))));
    const std::string before = m_folder.Bytes(kFile);
    m_folder.Age(kFile);
    m_store.Load();
    EXPECT_EQ(ReadAssignedPool(m_rig.A()), m_store.Current()->pools.at(0).get());
    m_store.Save();
    EXPECT_TRUE(m_folder.IsAged(kFile));

    ApplyGpuSetting({&m_rig.A(), std::nullopt, 5});
    m_store.Save();
    EXPECT_FALSE(m_folder.IsAged(kFile));
    EXPECT_NE(m_folder.Bytes(kFile), before);
    EXPECT_FALSE(m_folder.Exists(kBak) || m_folder.Exists(kBad));
    EXPECT_TRUE(m_log.empty());
}

TEST_F(ConfigurationStoreTest, KeepsAMalformedFile) {
    m_folder.Write(kFile, "<MinerConfig");
    m_store.Publish(WithPool(3));
    m_store.Load();
    EXPECT_TRUE(m_store.Current()->pools.empty());
    EXPECT_STREQ(m_store.Current()->DefaultWorkerName, L"host");
    EXPECT_EQ(m_folder.Bytes(kBad), "<MinerConfig");
    EXPECT_EQ(m_log, std::vector<std::wstring>{L"ConfigMiner.xml cannot be parsed; kept as ConfigMiner.xml.bad"});
    m_store.Save();
    EXPECT_NE(m_folder.Bytes(kFile).find("DefaultWorkerName=\"host\""), std::string::npos);
    EXPECT_EQ(m_folder.Bytes(kBad), "<MinerConfig");
}

TEST_F(ConfigurationStoreTest, KeepsAFileOfWhichItDropsSomething) {
    struct Case {
        std::string xml;
        std::wstring dropped;
    };
    const Case cases[] = {
        {OneConfig("PrimaryPoolID=\"1\"", std::string("<Gpu ID=\"") + kAbsentGpu + "\"/>"),
         L"configuration 1, none of whose GPUs is present"},
        {"<MinerConfig DefaultWorkerName=\"\xE2\x98\x83\"/>", L"characters that the system's code page lacks"},
    };
    for (const Case& c : cases) {
        m_log.clear();
        m_folder.Write(kFile, c.xml);
        m_store.Load();
        EXPECT_EQ(m_folder.Bytes(kBak), c.xml);
        m_store.Save();
        EXPECT_NE(m_folder.Bytes(kFile), c.xml);
        EXPECT_EQ(m_folder.Bytes(kBak), c.xml);
        EXPECT_EQ(m_log, std::vector<std::wstring>{L"ConfigMiner.xml was loaded without: " + c.dropped +
                                                   L"; kept as ConfigMiner.xml.bak"});
    }
}

// The copy cannot be made because a folder has its name: the file stays until it can.
TEST_F(ConfigurationStoreTest, ReplacesNothingItCouldNotKeep) {
    m_folder.Write(kFile, "<MinerConfig");
    ASSERT_TRUE(CreateDirectoryW((m_folder.Path() + kBad).c_str(), nullptr));
    m_store.Load();
    m_store.Save();
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kFile), "<MinerConfig");
    ASSERT_EQ(m_log.size(), 2u);
    EXPECT_TRUE(m_log[0].starts_with(L"ConfigMiner.xml cannot be parsed; it is not replaced before it can be kept as "));
    EXPECT_TRUE(m_log[1].starts_with(L"ConfigMiner.xml could not be saved (error "));

    ASSERT_TRUE(RemoveDirectoryW((m_folder.Path() + kBad).c_str()));
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kBad), "<MinerConfig");
    EXPECT_EQ(m_folder.Bytes(kFile), kEmpty);
    EXPECT_EQ(m_log.size(), 2u);
}

TEST_F(ConfigurationStoreTest, LeavesAFileAloneThatItCouldNotRead) {
    const std::string before = OnePool("ID=\"1\"");
    m_folder.Write(kFile, before);
    CHandle lock(m_folder.Lock(kFile));
    m_store.Load();
    lock.Close();
    ASSERT_EQ(m_log.size(), 1u);
    EXPECT_TRUE(
        m_log[0].starts_with(L"ConfigMiner.xml cannot be read and is not saved until another configuration arrives; "));
    m_store.Save();
    m_store.SetDefaultWorkerName(L"other");
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kFile), before);

    m_store.Publish(WithPool(3));
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kBak), before);
    EXPECT_NE(m_folder.Bytes(kFile).find("<Pool ID=\"3\""), std::string::npos);
    EXPECT_EQ(m_log.size(), 1u);
}

TEST_F(ConfigurationStoreTest, LogsAFailedSaveOnce) {
    m_store.Load();
    m_store.Save();
    m_store.Publish(WithPool(3));
    {
        const CHandle lock(m_folder.Lock(kFile));
        m_store.Save();
        m_store.Save();
    }
    EXPECT_EQ(m_log.size(), 1u);
    EXPECT_EQ(m_folder.Bytes(kFile), kEmpty);
    m_store.Save();
    EXPECT_NE(m_folder.Bytes(kFile), kEmpty);
    EXPECT_EQ(m_log.size(), 1u);
    EXPECT_FALSE(m_folder.Exists(kFile + L".tmp"));
}

}  // namespace
