#include <gtest/gtest.h>

#include "SettingsFolder.h"
#include "common/Handle.h"
#include "config/RuntimeSettings.h"

namespace {

const std::wstring kFile = L"RuntimeSettingsMiner.xml";

TEST(RuntimeSettingsFile, SavesWhatItLoads) {
    const CSettingsFolder folder;
    CRuntimeSettingsFile file(folder.Path());
    RuntimeSettings settings;
    EXPECT_TRUE(file.Load(settings));
    settings.HostPort = 1234;
    settings.WindowPos = {-5, 6, 7, 8};
    EXPECT_EQ(file.Save(settings), 0u);
    folder.Age(kFile);

    RuntimeSettings loaded;
    EXPECT_TRUE(file.Load(loaded));
    EXPECT_EQ(loaded.HostPort, 1234u);
    EXPECT_EQ(loaded.WindowPos.left, -5);
    EXPECT_EQ(file.Save(loaded), 0u);
    EXPECT_TRUE(folder.IsAged(kFile));
}

TEST(RuntimeSettingsFile, KeepsAMalformedFile) {
    const CSettingsFolder folder;
    CRuntimeSettingsFile file(folder.Path());
    folder.Write(kFile, "<RuntimeSettings HostPort=\"5\">");
    RuntimeSettings settings;
    EXPECT_FALSE(file.Load(settings));
    EXPECT_EQ(settings.HostPort, 8010u);
    EXPECT_EQ(file.Save(settings), 0u);
    EXPECT_EQ(folder.Bytes(kFile + L".bad"), "<RuntimeSettings HostPort=\"5\">");
    EXPECT_TRUE(file.Load(settings));
}

TEST(RuntimeSettingsFile, LeavesAFileAloneThatItCouldNotRead) {
    const CSettingsFolder folder;
    folder.Write(kFile, "<RuntimeSettings/>");
    CRuntimeSettingsFile file(folder.Path());
    RuntimeSettings settings;
    EXPECT_EQ(file.Save(settings), 0u);  // never loaded
    CHandle lock(folder.Lock(kFile));
    EXPECT_FALSE(file.Load(settings));
    lock.Close();
    EXPECT_EQ(file.Save(settings), 0u);
    EXPECT_EQ(folder.Bytes(kFile), "<RuntimeSettings/>");
}

}  // namespace
