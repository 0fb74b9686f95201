#include "support/FileReplace.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <thread>

#include "common/Handle.h"
#include "fixtures/ScratchFolder.h"

namespace {

CHandle OpenWithoutSharing(const std::wstring& path) {
    return CHandle(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

TEST(FileReplace, ReplacesOnlyWhatDiffers) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path(L"a.xml");
    constexpr struct {
        const char* text;
        bool written;
    } kCases[] = {{"first, longer", true}, {"second", true}, {"second", false}, {"zecond", true}, {"", true}};
    for (const auto& c : kCases) {
        const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
        std::error_code ignored;
        std::filesystem::last_write_time(path, old, ignored);
        ASSERT_EQ(ReplaceFileContents(path.c_str(), c.text), 0u);
        EXPECT_EQ(FileBytes(path), c.text);
        EXPECT_EQ(std::filesystem::last_write_time(path) > old + std::chrono::minutes(1), c.written) << c.text;
    }
}

TEST(KeptCopies, NumbersThemAndLetsTheOldestGo) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path(L"a.xml");
    EXPECT_EQ(KeepCopy(path, L".bak").name, L"");  // there is nothing to keep
    ASSERT_TRUE(CreateDirectoryW((path + L".bak").c_str(), nullptr));
    for (int i = 2; i <= 12; ++i) {
        WriteFileBytes(path, std::to_string(i));
        const std::wstring name = L"a.xml.bak" + std::to_wstring(i);
        for (int again = 0; again < 2; ++again) {
            const KeptCopy copy = KeepCopy(path, L".bak");
            EXPECT_EQ(copy.error, 0u);
            EXPECT_EQ(copy.name, name);
        }
        EXPECT_EQ(FileBytes(folder.Path(name)), std::to_string(i));
    }
    WriteFileBytes(path, "5");
    EXPECT_EQ(KeepCopy(path, L".bak").name, L"a.xml.bak5");
    WriteFileBytes(path, "13");
    KeepCopy(path, L".bak");
    EXPECT_EQ(FileBytes(folder.Path(L"a.xml.bak3")), "");
    EXPECT_EQ(FileBytes(folder.Path(L"a.xml.bak5")), "5");
    EXPECT_EQ(KeepCopy(path, L".bad").name, L"a.xml.bad");
}

TEST(FileReplace, RemovesWhatKilledSavesLeft) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path(L"a.xml");
    for (const wchar_t* name :
         {L"a.xml", L"a.xml.0000002c.tmp", L"a.xml.00000030.tmp", L"a.xml.mine.tmp", L"b.xml.0000002c.tmp"})
        WriteFileBytes(folder.Path(name), "x");
    RemoveTemporaries(path.c_str());
    EXPECT_EQ(folder.Files(), (std::vector<std::wstring>{L"a.xml", L"a.xml.mine.tmp", L"b.xml.0000002c.tmp"}));
}

TEST(FileReplace, WaitsForSomebodyWhoHasTheTargetOpen) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path(L"a.xml");
    ASSERT_EQ(ReplaceFileContents(path.c_str(), "old"), 0u);
    CHandle other = OpenWithoutSharing(path);
    ASSERT_TRUE(other);
    std::thread releaser([&] {
        // The temporary file shows that the replacement has begun.
        for (int i = 0; i < 500 && folder.Files().size() < 2; ++i)
            Sleep(1);
        other.Close();
    });
    EXPECT_EQ(ReplaceFileContents(path.c_str(), "new"), 0u);
    releaser.join();
    EXPECT_EQ(FileBytes(path), "new");
    EXPECT_EQ(folder.Files().size(), 1u);
}

TEST(FileReplace, GivesUpAfterABoundedTimeAndKeepsTheOldFile) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path(L"a.xml");
    ASSERT_EQ(ReplaceFileContents(path.c_str(), "old"), 0u);
    CHandle other = OpenWithoutSharing(path);
    const ULONGLONG start = GetTickCount64();
    const unsigned long error = ReplaceFileContents(path.c_str(), "new");
    EXPECT_TRUE(error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED) << error;
    EXPECT_LT(GetTickCount64() - start, 10'000u);
    other.Close();
    EXPECT_EQ(FileBytes(path), "old");
    EXPECT_EQ(folder.Files(), std::vector<std::wstring>{L"a.xml"});

    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(ReplaceFileContents(path.c_str(), "new"), static_cast<unsigned long>(ERROR_ACCESS_DENIED));
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(FileBytes(path), "old");
}

TEST(FileReplace, WritersInParallelLeaveOneWholeText) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path(L"a.xml");
    std::vector<std::thread> writers;
    for (char letter = 'a'; letter < 'e'; ++letter) {
        writers.emplace_back([&, letter] {
            for (std::size_t round = 1; round <= 5; ++round)
                EXPECT_EQ(ReplaceFileContents(path.c_str(), std::string(5000 * round, letter)), 0u);
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    const std::string bytes = FileBytes(path);
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ(bytes.find_first_not_of(bytes.front()), std::string::npos);
    EXPECT_EQ(folder.Files(), std::vector<std::wstring>{L"a.xml"});
}

}  // namespace
