#include "support/OldLogs.h"

#include <gtest/gtest.h>

#include "fixtures/Eventually.h"
#include "fixtures/ScratchFolder.h"
#include "support/RecentLines.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kMarch1st2024 = 154'557;  // since 1601; the year has a 29th of February

TEST(OldLogs, OnlyLogsOfDaysGoAndOnlyWhenTheyAreOldEnough) {
    const std::tuple<const wchar_t*, std::int32_t, bool> rows[] = {
        {L"Quorvel-Miner_2024-01-31.log", 30, false},     {L"Quorvel-Miner_2024-01-30.log", 30, true},
        {L"Miner-[a_b]_2024-02-29.log", 1, false},        {L"Miner-[a_b]_2024-02-28.log", 1, true},
        {L"Quorvel-Miner_1999-01-01.log", 0, false},      {L"Quorvel-Miner_2099-01-01.log", 30, false},
        {L"Quorvel-Miner_2023-02-29.log", 30, false},     {L"Quorvel-Miner-2023-01-01.log", 30, false},
        {L"Quorvel-Miner_2023-01-01.log.bak", 30, false}, {L"_2023-01-01.log", 30, false},
        {L"Quorvel-Miner_events.log", 30, false},         {L"Quorvel-Miner_2023-01-01_10-20-30.dmp", 30, false},
    };
    for (const auto& [name, days, goes] : rows)
        EXPECT_EQ(IsOldLog(name, kMarch1st2024, days), goes) << fs::path(name) << ' ' << days;
}

struct CEvents final : IEventSink {
    void Event(EventKind, std::wstring_view, std::wstring_view text) override { lines.Add(std::wstring(text)); }
    CRecentLines lines{2};
};

TEST(OldLogs, AreRemovedOnceADay) {
    CScratchFolder folder;
    CEvents events;
    COldLogs logs({folder.Path(), folder.Path(L"Miner"), folder.Path(L"absent")}, 1, events);
    const fs::path file = folder.Path(L"Miner") / "x_2024-02-28.log";
    fs::create_directories(folder.Path(L"folder_2020-01-01.log"));
    fs::create_directories(file.parent_path());
    for (const wchar_t* name : {L"a_2024-02-28.log", L"a_2024-02-29.log"})
        WriteFileBytes(folder.Path(name), "");
    WriteFileBytes(file, "");
    logs.Check({kMarch1st2024 * kTicksPerDay});
    EXPECT_TRUE(Eventually(
        [&] { return events.lines.Lines() == std::vector<std::wstring>{L"old logs removed: 2 (kept for 1 days)"}; }));
    EXPECT_EQ(folder.Files(), (std::vector<std::wstring>{L"Miner", L"a_2024-02-29.log", L"folder_2020-01-01.log"}));

    WriteFileBytes(file, "");
    logs.Check({(kMarch1st2024 + 1) * kTicksPerDay - 1});
    EXPECT_TRUE(fs::exists(file));
    EXPECT_TRUE(Eventually([&] {
        logs.Check({(kMarch1st2024 + 1) * kTicksPerDay});
        return !fs::exists(file) && !fs::exists(folder.Path(L"a_2024-02-29.log"));
    }));
}

}  // namespace
