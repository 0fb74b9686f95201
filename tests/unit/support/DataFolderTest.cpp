#include "support/DataFolder.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "fixtures/ScratchFolder.h"

namespace {

namespace fs = std::filesystem;

class DataFolderTest : public testing::Test {
  protected:
    DataFolderTest() { SetEnvironmentVariableW(L"LOCALAPPDATA", m_local.Path().c_str()); }

    CScratchFolder m_program;
    CScratchFolder m_local;
    const std::wstring m_folder = m_program.Path(L"").wstring();
    const std::wstring m_own = m_local.Path(L"Quorvel-Miner").wstring() + L"\\";
};

// A file of a folder's name is in the way of the folder.
TEST_F(DataFolderTest, IsTheFirstThatCanBeWritten) {
    const std::wstring ownAsFile = m_own.substr(0, m_own.size() - 1);
    const struct {
        std::vector<fs::path> inTheWay;
        bool isMoved;
    } rows[] = {
        {{}, false},
        {{m_program.Path(L"Settings")}, true},
        {{m_program.Path(L"Logs")}, true},
        {{m_program.Path(L"Logs"), ownAsFile}, false},
    };
    for (const auto& [inTheWay, isMoved] : rows) {
        for (const fs::path& path : {m_program.Path(L"Settings"), m_program.Path(L"Logs"), fs::path(ownAsFile)})
            fs::remove_all(path);
        for (const fs::path& path : inTheWay)
            WriteFileBytes(path, "");
        const DataFolder data = FindDataFolder(m_folder);
        EXPECT_EQ(data.path, isMoved ? m_own : m_folder);
        EXPECT_EQ(std::tuple(data.isMoved, data.isNew, data.reason.empty()), std::tuple(isMoved, isMoved, inTheWay.empty()));
        for (const fs::path& root : {m_program.Path(), m_local.Path()}) {
            for (const auto& entry : fs::recursive_directory_iterator(root))
                EXPECT_NE(entry.path().extension(), L".tmp") << entry.path();
        }
    }
}

TEST_F(DataFolderTest, TheSettingsAreTakenOverOnce) {
    WriteFileBytes(m_program.Path(L"Logs"), "");
    fs::create_directories(m_program.Path(L"Settings"));
    WriteFileBytes(m_program.Path(L"Settings") / "ConfigMiner.xml", "pools");
    for (const bool first : {true, false}) {
        FindDataFolder(m_folder);  // the guard's look
        const DataFolder data = FindDataFolder(m_folder);
        EXPECT_EQ(data.isNew, first);
        const std::wstring told = PrepareDataFolder(data, m_folder);
        EXPECT_TRUE(told.starts_with(L"settings and logs are in " + m_own + L", because ")) << fs::path(told);
        EXPECT_EQ(told.ends_with(L"; ConfigMiner.xml taken over"), first);
        const fs::path copy = fs::path(m_own) / "Settings" / "ConfigMiner.xml";
        EXPECT_EQ(FileBytes(copy), first ? "pools" : "changed");
        WriteFileBytes(copy, "changed");
    }
}

}  // namespace
