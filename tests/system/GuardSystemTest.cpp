// The real guard with the real miner.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "MinerProcess.h"

namespace {

namespace fs = std::filesystem;

// Writing a dump takes seconds under Wine.
constexpr DWORD kLongMilliseconds = 100'000;

class GuardTest : public testing::Test {
  protected:
    explicit GuardTest(CMinerRig::Driver driver = CMinerRig::Driver::Simulated) : m_rig(driver) {
        fs::copy_file(QV_GUARD, m_rig.Folder() / "Quorvel-Guard.exe");
        m_rig.WriteSettings("");
    }
    // A miner that the guard started is not a child of this process.
    ~GuardTest() override {
        m_guard = {};
        if (const DWORD id = MinerId()) Kill(id);
    }

    CChildProcess Guard(const std::wstring& arguments = L"--pause-unit-ms 1") const {
        return {L"\"" + (m_rig.Folder() / "Quorvel-Guard.exe").wstring() + L"\" " + arguments, m_rig.Folder(), {}};
    }
    std::string Events() const { return FileBytes(m_rig.Folder() / "Logs" / "Quorvel-Miner_events.log"); }
    std::ptrdiff_t Count(const std::string& pattern) const {
        const std::string events = Events();
        const std::regex regex(pattern);
        return std::distance(std::sregex_iterator(events.begin(), events.end(), regex), {});
    }
    // The miner that the guard started or found last; 0: none.
    DWORD MinerId() const {
        const std::string events = Events();
        const std::regex pattern("\\(process (\\d+)\\)");
        DWORD id = 0;
        for (std::sregex_iterator match(events.begin(), events.end(), pattern), end; match != end; ++match)
            id = static_cast<DWORD>(std::stoul((*match)[1]));
        return id;
    }
    static void Kill(DWORD id) {
        const HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id);
        if (process == nullptr) return;
        TerminateProcess(process, 3);
        WaitForSingleObject(process, 10'000);
        CloseHandle(process);
    }
    // The window of a miner other than the one before; null when it does not come.
    HWND WaitForMiner(DWORD before) const {
        HWND window = nullptr;
        WaitUntil(kLongMilliseconds, [&] {
            const DWORD id = MinerId();
            window = id == 0 || id == before ? nullptr : FindWindowOf(id, L"Quorvel-Miner (Version");
            return window != nullptr;
        });
        return window;
    }

    CMinerRig m_rig;
    CChildProcess m_guard;
};

TEST_F(GuardTest, APlugInThatCrashesTheProgramIsLeftOutAtTheThirdStart) {
    fs::copy_file(QV_CRASHING_PLUGIN, m_rig.Folder() / "Algos" / "Crashing.dll");
    m_guard = Guard();
    const HWND window = WaitForMiner(0);
    ASSERT_NE(window, nullptr) << Events();
    EXPECT_EQ(Count("loading Crashing\\.dll"), 2);
    EXPECT_EQ(Count("guard\t\tcrashed with exit code 0xC0000005\r\n"), 2);
    EXPECT_EQ(Count("guard\t\trestart in \\d+ s \\(2 of 10 in this hour\\)\r\n"), 1);
    EXPECT_EQ(Count("Crashing\\.dll left out: "), 1);
    EXPECT_EQ(Count("EtchashCpu\\.dll\tEtchash.* from EtchashCpu\\.dll\r\n"), 1) << Events();

    const std::string events = Events();
    const std::regex crash(
        "program\t\tcrashed: access violation \\(C0000005\\) in Crashing\\.dll\\+0x[0-9a-f]+; dump "
        "(Quorvel-Miner_.*\\.dmp)\r\n");
    std::sregex_iterator match(events.begin(), events.end(), crash);
    ASSERT_EQ(std::distance(match, {}), 2) << events;
    EXPECT_EQ(FileBytes(m_rig.Folder() / "Logs" / (*match)[1].str()).substr(0, 4), "MDMP");

    // Closed by a person, it stays closed.
    PostMessageW(window, WM_CLOSE, 0, 0);
    EXPECT_EQ(m_guard.WaitForExit(30'000), 0);
    EXPECT_EQ(Count("guard\t\tclosed by the user"), 1);
}

TEST_F(GuardTest, AnAbortNamesItsCallerAndOldDumpsGo) {
    fs::copy_file(QV_CRASHING_PLUGIN, m_rig.Folder() / "Algos" / "Crashing.dll");
    fs::create_directories(m_rig.Folder() / "Logs");
    for (const char* day : {"01", "02", "03", "04", "05", "06", "07"})
        WriteFileBytes(m_rig.Folder() / "Logs" / ("Quorvel-Miner_2018-12-" + std::string(day) + "_00-00-00.dmp"), "");
    SetEnvironmentVariableW(L"QV_ABORT", L"1");
    const CChildProcess miner = m_rig.Launch();
    SetEnvironmentVariableW(L"QV_ABORT", nullptr);
    EXPECT_EQ(miner.WaitForExit(kLongMilliseconds), 0x40000015);
    EXPECT_EQ(Count("crashed: abort \\(40000015\\) in msvcrt\\.dll.*, called from Crashing\\.dll\\+0x"), 1) << Events();
    EXPECT_FALSE(fs::exists(m_rig.Folder() / "Logs" / "Quorvel-Miner_2018-12-02_00-00-00.dmp"));
    EXPECT_TRUE(fs::exists(m_rig.Folder() / "Logs" / "Quorvel-Miner_2018-12-03_00-00-00.dmp"));
}

TEST_F(GuardTest, AKilledAndAHungMinerAreStartedAgain) {
    ASSERT_NE(m_rig.Start(), nullptr);
    const DWORD first = m_rig.Process().Id();
    m_guard = Guard(L"--pause-unit-ms 1 --silence-ms 6000");
    ASSERT_TRUE(WaitUntil(20'000, [&] { return MinerId() == first; })) << "it watches the one that runs\n" << Events();
    EXPECT_EQ(Guard().WaitForExit(20'000), 3) << "a second guard";

    Kill(first);
    const HWND second = WaitForMiner(first);
    ASSERT_NE(second, nullptr) << Events();
    EXPECT_EQ(Count("guard\t\tended with exit code 3\r\n"), 1);

    const DWORD secondId = MinerId();
    const HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME, FALSE, GetWindowThreadProcessId(second, nullptr));
    SuspendThread(thread);
    CloseHandle(thread);
    const HWND third = WaitForMiner(secondId);
    ASSERT_NE(third, nullptr) << Events();
    EXPECT_EQ(Count("guard\t\tnot answering for 6 s and ended\r\n"), 1);
    EXPECT_EQ(Count("crashed with exit code"), 0);

    // Told to end, the guard leaves the miner alone.
    PostMessageW(FindWindowW(L"Quorvel-Guard", nullptr), WM_CLOSE, 0, 0);
    EXPECT_EQ(m_guard.WaitForExit(20'000), 0);
    EXPECT_TRUE(IsWindow(third));
}

class GuardWithoutDriverTest : public GuardTest {
  protected:
    GuardWithoutDriverTest() : GuardTest(CMinerRig::Driver::Missing) {}
};

TEST_F(GuardWithoutDriverTest, ARigWithoutDriverIsGivenUpAfterTenRestartsAndShowsNoBox) {
    m_guard = Guard();
    EXPECT_EQ(m_guard.WaitForExit(kLongMilliseconds), 4) << Events();
    EXPECT_EQ(Count("guard\t\tended with exit code 41\r\n"), 11);
    EXPECT_EQ(Count("gpu\t\t[^\t<>]+\r\n"), 11) << "says why, without links\n" << Events();
    EXPECT_EQ(Count("guard\t\tgiven up: the miner was restarted 10 times in this hour"), 1);
}

}  // namespace
