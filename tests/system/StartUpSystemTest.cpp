// Start-up and shutdown of the real program.
#include <gtest/gtest.h>

#include <fstream>

#include "MinerProcess.h"

namespace {

constexpr DWORD kDialogMilliseconds = 20000;

// The message that a process shows, found by its title; null when none comes.
HWND WaitForDialog(const CChildProcess& process) {
    HWND dialog = nullptr;
    WaitUntil(kDialogMilliseconds, [&] {
        dialog = FindWindowOf(process.Id(), L"Quorvel-Miner");
        return dialog != nullptr || !process.IsRunning();
    });
    return dialog;
}

TEST(SingleInstanceTest, TheSecondCopyShowsItsMessageAndTouchesNothing) {
    CMinerRig rig;
    rig.WriteSettings("HideMinimized=\"1\"");
    ASSERT_NE(rig.Start(), nullptr);
    ASSERT_TRUE(WaitUntil(5000, [&] { return IsWindowVisible(rig.Window()); }));
    // Only a window with its icon hides, and the icon comes after it.
    ASSERT_TRUE(WaitUntil(10000, [&] {
        ShowWindow(rig.Window(), SW_MINIMIZE);
        return !IsWindowVisible(rig.Window());
    }));
    ASSERT_TRUE(WaitUntil(5000, [&] { return rig.MainLog().find("CUDA-Device 1") != std::string::npos; }));
    const std::string log = rig.MainLog();
    CChildProcess second = rig.Launch();
    const HWND dialog = WaitForDialog(second);
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(WindowText(dialog), L"Quorvel-Miner");
    PostMessageW(dialog, WM_CLOSE, 0, 0);
    EXPECT_EQ(second.WaitForExit(kDialogMilliseconds), 0);
    EXPECT_EQ(rig.MainLog(), log);
    EXPECT_TRUE(WaitUntil(5000, [&] { return IsWindowVisible(rig.Window()) && !IsIconic(rig.Window()); }));
    EXPECT_EQ(rig.Close(), 0);
}

TEST(StartUpTest, MakesItsFoldersLogsItsGpusAndSavesBothFiles) {
    CMinerRig rig;
    rig.WriteSettings("");
    ASSERT_NE(rig.Start(), nullptr);
    EXPECT_EQ(rig.Close(), 0);
    const std::string log = rig.MainLog();
    const std::size_t title = log.find("*** Quorvel-Miner ***");
    const std::size_t discovery = log.find("Get CUDA devices");
    EXPECT_LT(title, discovery) << log;
    for (const char* gpu : {"CUDA-Device 0: UUID:", "CUDA-Device 1: UUID:"}) {
        const std::size_t line = log.find(gpu);
        EXPECT_TRUE(line != std::string::npos && line > discovery) << log;
    }
    EXPECT_NE(FileBytes(rig.ConfigurationFile()).find("<MinerConfig"), std::string::npos);
    EXPECT_NE(FileBytes(rig.Folder() / "Settings" / "RuntimeSettingsMiner.xml").find("WindowPos"), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_directory(rig.Folder() / "Logs" / "Miner"));
}

TEST(StartUpTest, WithoutADriverItSaysSoAndKeepsTheConfiguration) {
    CMinerRig rig(CMinerRig::Driver::Missing);
    rig.Configure(1);
    const std::string configuration = FileBytes(rig.ConfigurationFile());
    CChildProcess process = rig.Launch();
    const HWND dialog = WaitForDialog(process);
    ASSERT_NE(dialog, nullptr);
    PostMessageW(dialog, WM_CLOSE, 0, 0);
    EXPECT_EQ(process.WaitForExit(kDialogMilliseconds), 0);
    EXPECT_EQ(FileBytes(rig.ConfigurationFile()), configuration);
}

}  // namespace
