#include "support/FileReplace.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <thread>

#include "ScratchFolder.h"
#include "common/Handle.h"

namespace {

CHandle OpenWithoutSharing(const std::wstring& path) {
    return CHandle(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// An hour ago, so that any write shows.
FILETIME SetOldTime(const std::wstring& path) {
    const CHandle file(CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    ULARGE_INTEGER ticks{{time.dwLowDateTime, time.dwHighDateTime}};
    ticks.QuadPart -= 36'000'000'000;
    time = {ticks.LowPart, ticks.HighPart};
    SetFileTime(file.Get(), nullptr, nullptr, &time);
    return time;
}

FILETIME WriteTime(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data);
    return data.ftLastWriteTime;
}

TEST(FileReplace, CreatesAndReplacesAndLeavesNoTemporary) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path(L"a.xml");
    ASSERT_EQ(ReplaceFileContents(path.c_str(), "first, longer"), 0u);
    ASSERT_EQ(ReplaceFileContents(path.c_str(), "second"), 0u);
    EXPECT_EQ(FileBytes(path), "second");
    ASSERT_EQ(ReplaceFileContents(path.c_str(), ""), 0u);
    EXPECT_EQ(FileBytes(path), "");
    EXPECT_EQ(folder.Files(), std::vector<std::wstring>{L"a.xml"});
}

TEST(FileReplace, AnUnchangedFileIsNotTouched) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path(L"a.xml");
    ASSERT_EQ(ReplaceFileContents(path.c_str(), "same"), 0u);
    SetOldTime(path);
    const FILETIME before = WriteTime(path);
    ASSERT_EQ(ReplaceFileContents(path.c_str(), "same"), 0u);
    FILETIME after = WriteTime(path);
    EXPECT_EQ(CompareFileTime(&before, &after), 0);
    ASSERT_EQ(ReplaceFileContents(path.c_str(), "diff"), 0u);
    after = WriteTime(path);
    EXPECT_LT(CompareFileTime(&before, &after), 0);
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
            for (std::size_t round = 1; round <= 5; ++round) {
                EXPECT_EQ(ReplaceFileContents(path.c_str(), std::string(5000 * round, letter)), 0u);
            }
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    const std::string bytes = FileBytes(path);
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ(bytes.find_first_not_of(bytes.front()), std::string::npos);
    EXPECT_EQ(folder.Files(), std::vector<std::wstring>{L"a.xml"});
}

TEST(FileReplace, ReadsAndKeepsCopies) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path(L"a.xml");
    std::string bytes = "left over";
    EXPECT_EQ(ReadFileContents(path.c_str(), bytes), static_cast<unsigned long>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(bytes, "");
    EXPECT_EQ(ReadFileContents(folder.Path(L"x\\a.xml").c_str(), bytes), static_cast<unsigned long>(ERROR_PATH_NOT_FOUND));
    EXPECT_NE(KeepCopy(path.c_str(), L".bad"), 0u);

    for (const char* text : {"one", "two, longer"}) {
        WriteFileBytes(path, text);
        ASSERT_EQ(KeepCopy(path.c_str(), L".bad"), 0u);
        ASSERT_EQ(ReadFileContents((path + L".bad").c_str(), bytes), 0u);
        EXPECT_EQ(bytes, text);
    }
}

}  // namespace
