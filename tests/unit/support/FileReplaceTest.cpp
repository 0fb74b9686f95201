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

TEST(FileReplace, ReplacesOnlyWhatDiffersAndKeepsCopies) {
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
        ASSERT_EQ(KeepCopy(path.c_str(), L".bad"), 0u);  // over the one before
        EXPECT_EQ(FileBytes(path + L".bad"), c.text);
        EXPECT_EQ(folder.Files(), (std::vector<std::wstring>{L"a.xml", L"a.xml.bad"}));
    }
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
