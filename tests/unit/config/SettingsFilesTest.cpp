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
    CConfigurationStore m_store{m_folder.Path(L""), m_rig.algorithms, m_rig.gpus};
};

TEST_F(ConfigurationStoreTest, CreatesAMissingFileAndReplacesItWhenItCan) {
    m_store.SetDefaultWorkerName(L"a host name of many characters");
    EXPECT_EQ(m_store.Load().message, L"");
    EXPECT_STREQ(m_store.Current()->DefaultWorkerName, L"a host name of ma");
    m_store.SetDefaultWorkerName(L"host");
    EXPECT_EQ(m_store.Save(), L"");
    EXPECT_EQ(m_folder.Bytes(kFile), kEmpty);

    CHandle lock(m_folder.Lock(kFile));
    EXPECT_TRUE(m_store.Replace(WithPool(4)).starts_with(m_folder.Path(kFile).wstring() + L" could not be saved: "));
    EXPECT_TRUE(m_store.Current()->pools.empty());  // what cannot be saved is not in force either
    m_store.Publish(WithPool(3));
    EXPECT_NE(m_store.Save(), L"");
    lock.Close();
    EXPECT_EQ(m_folder.Bytes(kFile), kEmpty);
    EXPECT_EQ(m_store.Save(), L"");
    EXPECT_NE(m_folder.Bytes(kFile).find("<Pool ID=\"3\""), std::string::npos);
    EXPECT_EQ(m_store.Replace(WithPool(4)), L"");
    EXPECT_EQ(m_store.Current()->pools.at(0)->ID, 4u);
    EXPECT_NE(m_folder.Bytes(kFile).find("<Pool ID=\"4\""), std::string::npos);
    EXPECT_EQ(m_folder.Files(), std::vector<std::wstring>{kFile});
}

TEST_F(ConfigurationStoreTest, SavesTheBytesItLoaded) {
    const std::string absent = "<Gpu ID=\"" + std::string(32, '1') + "\"/>";
    const auto before =
        m_rig.Write(m_rig.Read(OneConfig("PrimaryPoolID=\"1\"", absent + "<Gpu ID=\"" + kGpuA + "\"/>"), m_report));
    m_folder.Write(kFile, before);
    EXPECT_EQ(m_store.Load().message, L"");
    EXPECT_EQ(ReadAssignedPool(m_rig.A()), m_store.Current()->pools.at(0).get());
    m_store.Save();
    EXPECT_EQ(m_folder.Bytes(kFile), before);
    ApplyGpuSetting({&m_rig.A(), std::nullopt, 5});
    m_store.Save();
    EXPECT_NE(m_folder.Bytes(kFile), before);
    EXPECT_EQ(m_folder.Files(), std::vector<std::wstring>{kFile});
}

TEST_F(ConfigurationStoreTest, KeepsAFileOfWhichItLosesSomething) {
    const struct {
        std::string xml;
        std::wstring message, copy;
    } cases[] = {
        {"<MinerConfig", L" cannot be parsed", L"ConfigMiner.xml.bad"},
        {OneConfig("PrimaryPoolID=\"1\"", "<Gpu ID=\"00\"/>"),
         L": not understood: a GPU without a valid ID of configuration 1; configuration 1, which has no GPU",
         L"ConfigMiner.xml.bak"},
        {"<MinerConfig DefaultWorkerName=\"\xE2\x98\x83\"/>",
         L": not understood: characters that the system's code page lacks in DefaultWorkerName of the file",
         L"ConfigMiner.xml.bak2"},
        {"<MinerConfig><!-- mine --></MinerConfig>", L": not understood: comments or text between the elements",
         L"ConfigMiner.xml.bak3"},
    };
    for (const auto& [xml, message, copy] : cases) {
        m_folder.Write(kFile, xml);
        m_store.Publish(WithPool(3));
        EXPECT_EQ(m_store.Load().message, L"ConfigMiner.xml" + message + L"; the file as found is kept as " + copy);
        EXPECT_EQ(m_store.Save(), L"");
        EXPECT_EQ(m_folder.Bytes(kFile).find("<Pool ID=\"3\""), std::string::npos);
        EXPECT_NE(m_folder.Bytes(kFile), xml);
        EXPECT_EQ(m_folder.Bytes(copy), xml);
    }
}

TEST_F(ConfigurationStoreTest, SavesNothingOverAFileThatItCouldNotRead) {
    const std::string before = OnePool("ID=\"1\"");
    m_folder.Write(kFile, before);
    m_store.Save();  // never loaded
    EXPECT_EQ(m_folder.Bytes(kFile), before);
    CHandle lock(m_folder.Lock(kFile));
    const FileLoad load = m_store.Load(Patience::None);
    EXPECT_EQ(load.status, XmlStatus::Unreadable);
    EXPECT_TRUE(load.message.starts_with(L"ConfigMiner.xml cannot be read: "));
    m_store.SetDefaultWorkerName(L"other");
    EXPECT_EQ(m_store.Save(), L"");
    lock.Close();
    EXPECT_EQ(m_folder.Bytes(kFile), before);
    EXPECT_EQ(m_store.RetryLoad().status, XmlStatus::Ok);
    EXPECT_EQ(m_store.Current()->pools.size(), 1u);

    // One that somebody else makes meanwhile does not cost the old one either.
    lock = CHandle(m_folder.Lock(kFile));
    m_store.Load(Patience::None);
    m_store.Publish(WithPool(3));
    EXPECT_NE(m_store.Save(), L"");
    lock.Close();
    EXPECT_EQ(m_store.RetryLoad().status, XmlStatus::Ok);
    EXPECT_EQ(m_store.Current()->pools.at(0)->ID, 3u);
    EXPECT_EQ(m_store.Save(), L"");
    EXPECT_EQ(m_folder.Bytes(L"ConfigMiner.xml.bak"), before);
    EXPECT_NE(m_folder.Bytes(kFile).find("<Pool ID=\"3\""), std::string::npos);
}

TEST(RuntimeSettingsFile, KeepsAMalformedFileAndLoadsWhatItSaved) {
    const CSettingsFolder folder;
    CRuntimeSettingsFile file(folder.Path(L""));
    RuntimeSettings settings;
    EXPECT_EQ(file.Load(settings).message, L"") << "a missing file is no error";
    folder.Write(kRuntimeFile, "<RuntimeSettings HostPort=\"5\">");
    EXPECT_EQ(file.Load(settings).status, XmlStatus::Malformed);
    EXPECT_EQ(settings.HostPort, 8010u);
    settings.HostPort = 1234;
    EXPECT_EQ(file.Save(settings), L"");
    EXPECT_EQ(folder.Bytes(kRuntimeFile + L".bad"), "<RuntimeSettings HostPort=\"5\">");
    RuntimeSettings loaded;
    EXPECT_EQ(file.Load(loaded).message, L"");
    EXPECT_EQ(loaded.HostPort, 1234u);
}

TEST(RuntimeSettingsFile, LeavesAFileAloneThatItCouldNotRead) {
    const CSettingsFolder folder;
    folder.Write(kRuntimeFile, "<RuntimeSettings/>");
    CRuntimeSettingsFile file(folder.Path(L""));
    RuntimeSettings settings;
    EXPECT_EQ(file.Save(settings), L"");  // never loaded
    CHandle lock(folder.Lock(kRuntimeFile));
    EXPECT_EQ(file.Load(settings, Patience::None).status, XmlStatus::Unreadable);
    lock.Close();
    EXPECT_EQ(file.Save(settings), L"");
    EXPECT_EQ(folder.Bytes(kRuntimeFile), "<RuntimeSettings/>");
}

}  // namespace
