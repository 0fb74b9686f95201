#include "mining/AlgorithmEnumeration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "TestPlugin.h"
#include "fixtures/ScratchFolder.h"
#include "mining/PluginInstance.h"

namespace {

namespace fs = std::filesystem;

// An "Algos" folder of its own for each test.
class AlgorithmEnumerationTest : public testing::Test {
  protected:
    void Install(const char* plugin, const char* as) { fs::copy_file(fs::path(QV_PLUGINS) / plugin, m_folder.Path(as)); }
    void Enumerate() { EnumerateAlgorithms(m_folder.Path(""), StateFile(), m_events, m_algorithms); }
    std::filesystem::path StateFile() const { return m_folder.Path("PlugIns.txt"); }
    bool HasEvent(const std::wstring& text) const {
        return std::ranges::any_of(m_events.LatestLines(), [&](const std::wstring& line) { return line.ends_with(text); });
    }

    CScratchFolder m_folder;
    CEventLog m_events;
    CAlgorithmList m_algorithms;
};

TEST_F(AlgorithmEnumerationTest, SkipsWhatIsNoPlugin) {
    std::ofstream(m_folder.Path("text.dll")) << "not a library";
    std::ofstream(m_folder.Path("empty.dll")).flush();
    std::ofstream(m_folder.Path("readme.txt")) << "no";
    fs::create_directories(m_folder.Path("folder.dll"));
    Install("no_export_plugin.dll", "a.dll");
    Install("null_descriptor_plugin.dll", "b.dll");
    Install("later_abi_plugin.dll", "d.dll");
    Enumerate();
    EXPECT_TRUE(m_algorithms.Entries().empty());
    EXPECT_EQ(m_algorithms.Find(kRecorderId).record.libraryPath[0], L'\0');
    EXPECT_TRUE(HasEvent(L"\ttext.dll skipped: it cannot be loaded (error 193)"));
    EXPECT_TRUE(HasEvent(L"\ta.dll skipped: it has no GetInterface"));
    EXPECT_TRUE(HasEvent(L"\tb.dll skipped: it returns no descriptor"));
    EXPECT_TRUE(HasEvent(L"\td.dll skipped: it needs version 2 of the plug-in interface, this program has 1"));

    Install("recorder_plugin.dll", "c.dll");
    Enumerate();
    ASSERT_EQ(m_algorithms.Entries().size(), 1u);
    const AlgorithmEntry& entry = *m_algorithms.Entries()[0];
    EXPECT_EQ(entry.record.id, kRecorderId);
    EXPECT_STREQ(entry.record.name, L"Recorder");
    EXPECT_EQ(std::wstring(entry.record.libraryPath), m_folder.Path("c.dll").wstring());
    EXPECT_EQ(entry.unit, L"Sol/s");
    EXPECT_EQ(GetModuleHandleW(entry.record.libraryPath), nullptr) << "the library stays loaded after enumeration";
    EXPECT_TRUE(HasEvent(L"\tRecorder (100) from c.dll"));
    EXPECT_TRUE(m_algorithms.LeftOut().empty());
    EXPECT_EQ(FileBytes(StateFile()), "") << "nothing is held against a plug-in that was listed";
}

TEST_F(AlgorithmEnumerationTest, FirstOfOneIdWins) {
    Install("recorder_plugin.dll", "1.dll");
    Install("recorder_plugin.dll", "2.dll");
    Enumerate();
    ASSERT_EQ(m_algorithms.Entries().size(), 2u);
    EXPECT_EQ(&m_algorithms.Find(kRecorderId), m_algorithms.Entries()[0].get());
}

TEST_F(AlgorithmEnumerationTest, LoaderCodes) {
    std::ofstream(m_folder.Path("text.dll")) << "not a library";
    Install("no_export_plugin.dll", "no_export.dll");
    const auto load = [&](const std::wstring& path) {
        QvDescriptor record = {};
        path.copy(record.libraryPath, QV_PATH_CHARS - 1);
        return CPluginInstance().Load(record);
    };
    EXPECT_EQ(load(L""), PluginLoadResult::NoAlgorithm);
    EXPECT_EQ(load(m_folder.Path("missing.dll")), PluginLoadResult::LoadFailed);
    EXPECT_EQ(load(m_folder.Path("text.dll")), PluginLoadResult::LoadFailed);
    EXPECT_EQ(load(m_folder.Path("no_export.dll")), PluginLoadResult::NoInterface);
}

}  // namespace
