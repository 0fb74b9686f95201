#include "config/ConfigurationStore.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "Rig.h"
#include "common/Handle.h"
#include "config/RuntimeSettings.h"
#include "fixtures/ScratchFolder.h"

namespace {

const std::wstring kFile = L"ConfigMiner.xml";
const std::wstring kRuntimeFile = L"RuntimeSettingsMiner.xml";
const std::wstring kBak = L"ConfigMiner.xml.bak";
const std::wstring kBad = L"ConfigMiner.xml.bad";
constexpr char kEmpty[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<MinerConfig DefaultWorkerName=\"host\">\n  <Pools/>\n  <Configurations/>\n</MinerConfig>\n";

struct CSettingsFolder : CScratchFolder {
    std::string Bytes(const std::wstring& name) const { return FileBytes(Path(name)); }
    void Write(const std::wstring& name, const std::string& bytes) const { WriteFileBytes(Path(name), bytes); }
    // Nobody else can open the file while the handle is open.
    HANDLE Lock(const std::wstring& name) const {
        return CreateFileW(Path(name).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    }
};

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
    CLoadReport m_report;
    std::vector<std::wstring> m_log;
    CConfigurationStore m_store{m_folder.Path(L""), m_rig.algorithms, m_rig.gpus,
                                [this](const std::wstring& line) { m_log.push_back(line); }};
};

TEST_F(ConfigurationStoreTest, CreatesAMissingFileAndReplacesItWhenItCan) {
    m_store.SetDefaultWorkerName(L"a host name of many characters");
    m_store.Load();
    EXPECT_STREQ(m_store.Current()->DefaultWorkerName, L"a host name of ma");
    m_store.SetDefaultWorkerName(L"host");
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kFile), kEmpty);
    EXPECT_TRUE(m_log.empty());

    m_store.Publish(WithPool(3));
    CHandle lock(m_folder.Lock(kFile));
    m_store.Save();
    lock.Close();
    EXPECT_EQ(m_folder.Bytes(kFile), kEmpty);
    m_store.Save();
    EXPECT_NE(m_folder.Bytes(kFile), kEmpty);
    EXPECT_EQ(m_folder.Files(), std::vector<std::wstring>{kFile});
}

TEST_F(ConfigurationStoreTest, SavesTheBytesItLoaded) {
    const auto before = m_rig.Write(m_rig.Read(OneConfig("PrimaryPoolID=\"1\"", "<Gpu ID=\"" + kGpuA + "\"/>"), m_report));
    m_folder.Write(kFile, before);
    m_store.Load();
    EXPECT_EQ(ReadAssignedPool(m_rig.A()), m_store.Current()->pools.at(0).get());
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kFile), before);
    ApplyGpuSetting({&m_rig.A(), std::nullopt, 5});
    m_store.Save();
    EXPECT_NE(m_folder.Bytes(kFile), before);
    EXPECT_EQ(m_folder.Files(), std::vector<std::wstring>{kFile});
    EXPECT_TRUE(m_log.empty());
}

TEST_F(ConfigurationStoreTest, KeepsAFileOfWhichItLosesSomething) {
    const struct {
        std::string xml;
        std::wstring event, copy;
    } cases[] = {
        {"<MinerConfig", L"cannot be parsed", kBad},
        {OneConfig("PrimaryPoolID=\"1\"", "<Gpu ID=\"00\"/>"),
         L"was loaded without: configuration 1, none of whose GPUs is present", kBak},
        {"<MinerConfig DefaultWorkerName=\"\xE2\x98\x83\"/>",
         L"was loaded without: characters that the system's code page lacks", kBak},
    };
    for (const auto& [xml, event, copy] : cases) {
        m_log.clear();
        m_folder.Write(kFile, xml);
        m_store.Publish(WithPool(3));
        m_store.Load();
        EXPECT_EQ(m_folder.Bytes(copy), xml);
        m_store.Save();
        EXPECT_EQ(m_folder.Bytes(kFile) == kEmpty, copy == kBad);
        EXPECT_EQ(m_folder.Bytes(kFile).find("<Pool ID=\"3\""), std::string::npos);
        EXPECT_NE(m_folder.Bytes(kFile), xml);
        EXPECT_EQ(m_folder.Bytes(copy), xml);
        EXPECT_EQ(m_log, std::vector<std::wstring>{L"ConfigMiner.xml " + event + L"; kept as " + copy});
    }
}

// The copy cannot be made because a folder has its name: the file stays until it can.
TEST_F(ConfigurationStoreTest, ReplacesNothingItCouldNotKeep) {
    m_folder.Write(kFile, "<MinerConfig");
    ASSERT_TRUE(CreateDirectoryW(m_folder.Path(kBad).c_str(), nullptr));
    m_store.Load();
    m_store.Save();
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kFile), "<MinerConfig");
    ASSERT_EQ(m_log.size(), 2u);
    EXPECT_TRUE(m_log[0].starts_with(L"ConfigMiner.xml cannot be parsed; it is not replaced before it can be kept as "));
    EXPECT_TRUE(m_log[1].starts_with(L"ConfigMiner.xml could not be saved (error "));

    ASSERT_TRUE(RemoveDirectoryW(m_folder.Path(kBad).c_str()));
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kBad), "<MinerConfig");
    EXPECT_EQ(m_folder.Bytes(kFile), kEmpty);
    EXPECT_EQ(m_log.size(), 2u);
}

TEST_F(ConfigurationStoreTest, LeavesAFileAloneThatItCouldNotRead) {
    const std::string before = OnePool("ID=\"1\"");
    m_folder.Write(kFile, before);
    m_store.Save();  // never loaded
    EXPECT_EQ(m_folder.Bytes(kFile), before);
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

TEST(RuntimeSettingsFile, KeepsAMalformedFileAndLoadsWhatItSaved) {
    const CSettingsFolder folder;
    CRuntimeSettingsFile file(folder.Path(L""));
    RuntimeSettings settings;
    EXPECT_TRUE(file.Load(settings)) << "a missing file is no error";
    folder.Write(kRuntimeFile, "<RuntimeSettings HostPort=\"5\">");
    EXPECT_FALSE(file.Load(settings));
    EXPECT_EQ(settings.HostPort, 8010u);
    settings.HostPort = 1234;
    EXPECT_EQ(file.Save(settings), 0u);
    EXPECT_EQ(folder.Bytes(kRuntimeFile + L".bad"), "<RuntimeSettings HostPort=\"5\">");
    RuntimeSettings loaded;
    EXPECT_TRUE(file.Load(loaded));
    EXPECT_EQ(loaded.HostPort, 1234u);
}

TEST(RuntimeSettingsFile, LeavesAFileAloneThatItCouldNotRead) {
    const CSettingsFolder folder;
    folder.Write(kRuntimeFile, "<RuntimeSettings/>");
    CRuntimeSettingsFile file(folder.Path(L""));
    RuntimeSettings settings;
    EXPECT_EQ(file.Save(settings), 0u);  // never loaded
    CHandle lock(folder.Lock(kRuntimeFile));
    EXPECT_FALSE(file.Load(settings));
    lock.Close();
    EXPECT_EQ(file.Save(settings), 0u);
    EXPECT_EQ(folder.Bytes(kRuntimeFile), "<RuntimeSettings/>");
}

}  // namespace
