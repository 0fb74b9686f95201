#include "support/EventLog.h"

#include <gtest/gtest.h>

#include "fixtures/ScratchFolder.h"

namespace {

bool EndsWith(const std::wstring& line, const std::wstring& end) {
    return line.size() >= end.size() && line.compare(line.size() - end.size(), end.size(), end) == 0;
}

TEST(EventLog, LinesAreWholeStampedAndKnownAfterARestart) {
    const CScratchFolder folder;
    const std::wstring path = folder.Path("events").wstring();
    {
        CEventLog log;
        log.Open(path);
        log.Event(EventKind::Pool, L"M\u00fcnz\tpool", L"first\r\n2099-01-01 - 00:00:00.000: forged");
        log.Event(EventKind::PlugIn, L"", std::wstring(5000, L'x'));
        log.Flush();
        // As another process does it meanwhile.
        ASSERT_TRUE(AppendEvent((path + L".log").c_str(), EventKind::Guard, L"", L"restart\nin 5 s \u20ac"));
    }
    CEventLog log;
    log.Open(path);
    log.Event(EventKind::Program, L"", L"started again");
    log.Flush();
    const std::vector<std::wstring> lines = log.LatestLines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_TRUE(EndsWith(lines[0], L": pool\tM\u00fcnz pool\tfirst  2099-01-01 - 00:00:00.000: forged")) << lines[0];
    EXPECT_LT(lines[1].size(), 1100u);
    EXPECT_TRUE(EndsWith(lines[2], L": guard\t\trestart in 5 s \u20ac")) << lines[2];
    EXPECT_TRUE(EndsWith(lines[3], L": program\t\tstarted again"));
    EXPECT_EQ(lines[3].find(L" - "), 10u) << "the date comes first";
    EXPECT_EQ(lines[2].find(L": guard"), lines[3].find(L": program")) << "stamped alike";
    const std::string file = FileBytes(folder.Path("events.log"));
    EXPECT_NE(file.find("program\t\tstarted again\r\n"), std::string::npos);
}

TEST(EventLog, TheFileStaysSmallAndLeavesOnePredecessor) {
    const CScratchFolder folder;
    CEventLog log;
    log.Open(folder.Path("events").wstring());
    for (int i = 0; i < 2600; ++i)
        log.Event(EventKind::Pool, L"Pool", std::wstring(900, L'x') + std::to_wstring(i));
    log.Flush();
    EXPECT_EQ(log.LatestLines().size(), CEventLog::kLatestLines);
    const std::string present = FileBytes(folder.Path("events.log"));
    const std::string before = FileBytes(folder.Path("events.old.log"));
    constexpr std::size_t kMost = 1 << 20;
    EXPECT_LE(present.size(), kMost + 70'000);
    EXPECT_LE(before.size(), kMost + 70'000);
    EXPECT_GT(before.size(), kMost - 70'000);
    EXPECT_NE(present.find("xx2599\r\n"), std::string::npos) << "the newest is here";
}

}  // namespace
