#include "support/LogSystem.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <thread>

#include "common/Handle.h"
#include "common/SystemTime.h"
#include "fixtures/HandClock.h"
#include "fixtures/ScratchFolder.h"

namespace {

// 2024-02-29, shortly before midnight of local time, whatever the time zone.
ddt_datetime UtcBeforeLocalMidnight() {
    constexpr ddt_datetime kMidnight{133'537'248'000'000'000};  // 2024-03-01 00:00 if it were UTC
    const TimeSpan offset = LocalFromUtc(kMidnight).ticks - kMidnight.ticks;
    return {kMidnight.ticks - offset - 1'500 * kTicksPerMillisecond};  // 23:59:58.500
}

class LogSystem : public testing::Test {
  protected:
    void Create(CBKLogSystem& log) {
        log.enabled = 1;
        ASSERT_TRUE(log.CreateLogSystem(folder.Path(L"Main").c_str(), 0));
    }
    std::string Day(const wchar_t* day) const { return FileBytes(folder.Path(std::wstring(L"Main_") + day + L".log")); }

    CScratchFolder folder;
    CHandSetClock clock{UtcBeforeLocalMidnight().ticks};
};

TEST_F(LogSystem, WritesLinesExactlyWhileOthersHaveTheFileOpen) {
    CBKLogSystem log(clock);
    Create(log);
    log.LogFormat(LOG_SEVERITY_NORMAL, L"*** %s ***", L"Quorvel-Miner");
    log.LogLine(L"CUDA-Device %d: UUID:%S  -  %s \u65E5", 0, "00ff", L"RTX");
    log.Flush();
    CHandle other(CreateFileW(folder.Path(L"Main_2024-02-29.log").c_str(), GENERIC_READ | DELETE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(other);
    log.LogLine(L"%s", L"");
    log.LogTraffic(TrafficDirection::Sent, "{\"id\":1}\n", {}, 0);
    log.LogTraffic(TrafficDirection::Received, "a%b\n", {clock.ticks + 250 * kTicksPerMillisecond}, 255);
    log.Flush();
    other.Close();
    EXPECT_EQ(Day(L"2024-02-29"),
              "2024-02-29 - 23:59:58.500: *** Quorvel-Miner ***\r\n"
              "2024-02-29 - 23:59:58.500: CUDA-Device 0: UUID:00ff  -  RTX \xE6\x97\xA5\r\n"
              "2024-02-29 - 23:59:58.500\r\n"
              "2024-02-29 - 23:59:58.500: -> {\"id\":1}\r\n"
              "2024-02-29 - 23:59:58.750: <- a%%b - Error:000000FF\r\n");
}

TEST_F(LogSystem, StampsAsItsMembersSay) {
    constexpr struct {
        std::int32_t date;
        std::int32_t time;
        const wchar_t* milliseconds;
        const char* line;
    } kCases[] = {
        {1, 0, L".%03d", "29.02.24: x\r\n"},        {0, 1, L",%d", "23h59,500: x\r\n"}, {0, 1, nullptr, "23h59: x\r\n"},
        {1, 1, nullptr, "29.02.24 - 23h59: x\r\n"}, {0, 0, nullptr, ": x\r\n"},
    };
    std::string expected;
    for (const auto& c : kCases) {
        CBKLogSystem log(clock);
        log.showDate = c.date;
        log.showTime = c.time;
        log.dateFormat = L"dd'.'MM'.'yy";
        log.timeFormat = L"HH'h'mm";
        log.millisecondFormat = c.milliseconds;
        Create(log);
        log.LogLine(L"x");
        expected += c.line;
        log.Flush();
        EXPECT_EQ(Day(L"2024-02-29"), expected);  // each log appends to the file that is there
    }
}

TEST_F(LogSystem, EveryLineGoesToTheFileOfItsDay) {
    CBKLogSystem log(clock);
    Create(log);
    log.LogLine(L"before");
    const ddt_datetime received{clock.ticks.load()};
    clock.ticks += 2 * kTicksPerSecond;
    log.LogLine(L"after");
    log.LogTraffic(TrafficDirection::Received, "late", received, 0);
    clock.ticks += kTicksPerDay;
    log.LogLine(L"next");
    log.Flush();
    EXPECT_EQ(Day(L"2024-02-29"), "2024-02-29 - 23:59:58.500: before\r\n2024-02-29 - 23:59:58.500: <- late\r\n");
    EXPECT_EQ(Day(L"2024-03-01"), "2024-03-01 - 00:00:00.500: after\r\n");
    EXPECT_EQ(Day(L"2024-03-02"), "2024-03-02 - 00:00:00.500: next\r\n");
    EXPECT_EQ(folder.Files().size(), 3u);
}

TEST_F(LogSystem, ADisabledLogCreatesNothingAndAMissingFolderIsReportedAndTriedAgain) {
    CBKLogSystem log(clock);
    EXPECT_TRUE(log.CreateLogSystem(folder.Path(L"Main").c_str(), 0));
    log.LogLine(L"disabled");
    log.Flush();
    EXPECT_TRUE(folder.Files().empty());
    log.enabled = 1;
    EXPECT_FALSE(log.CreateLogSystem(folder.Path(L"Logs\\Main").c_str(), 0));
    log.LogLine(L"lost");
    log.Flush();
    ASSERT_TRUE(CreateDirectoryW(folder.Path(L"Logs").c_str(), nullptr));
    log.LogLine(L"kept");
    log.Flush();
    EXPECT_EQ(FileBytes(folder.Path(L"Logs\\Main_2024-02-29.log")), "2024-02-29 - 23:59:58.500: kept\r\n");
}

TEST_F(LogSystem, LinesOfManyThreadsNeitherMixNorGetLost) {
    constexpr int kLines = 500;
    {
        CBKLogSystem log(clock);
        Create(log);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 6; ++thread) {
            threads.emplace_back([&log, thread] {
                for (int line = 0; line < kLines; line += 2) {
                    log.LogLine(L"-> %d %d end", thread, line);
                    const std::string next = std::to_string(thread) + " " + std::to_string(line + 1) + " end\n";
                    log.LogTraffic(TrafficDirection::Sent, next, {}, 0);
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }  // the destructor writes what is pending

    std::istringstream text(Day(L"2024-02-29"));
    std::map<int, int> next;
    for (std::string line; std::getline(text, line);) {
        int thread = -1;
        int number = -1;
        char end[8] = {};
        ASSERT_EQ(std::sscanf(line.c_str(), "2024-02-29 - 23:59:58.500: -> %d %d %6s", &thread, &number, end), 3) << line;
        ASSERT_STREQ(end, "end");
        ASSERT_EQ(number, next[thread]++) << line;  // each thread's lines in its order
    }
    EXPECT_EQ(next.size(), 6u);
    for (const auto& [thread, count] : next)
        EXPECT_EQ(count, kLines) << thread;
}

TEST_F(LogSystem, SaysHowManyLinesItDropped) {
    CBKLogSystem log(clock);
    Create(log);
    log.LogTraffic(TrafficDirection::Received, std::string(std::size_t{17} << 20, 'x'), {}, 0);
    log.Flush();
    log.LogLine(L"goes on");
    log.Flush();
    EXPECT_EQ(Day(L"2024-02-29"),
              "2024-02-29 - 23:59:58.500: *** 1 lines were dropped here\r\n2024-02-29 - 23:59:58.500: goes on\r\n");
}

}  // namespace
