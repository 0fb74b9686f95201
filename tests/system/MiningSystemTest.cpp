// Mining end to end: the real program, simulated cards, the CPU plug-in and the local pool, which verifies every share.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "MinerProcess.h"
#include "PoolProcess.h"

namespace {

constexpr DWORD kShareMilliseconds = 90000;
constexpr int kMiningState = 1042;
constexpr int kPoolMessage = 1075;
constexpr const char* kEasy = "--difficulty 400 --interval 5 ";

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::wstring ClipboardText() {
    if (!OpenClipboard(nullptr)) return {};
    const HANDLE memory = GetClipboardData(CF_UNICODETEXT);
    const void* const text = memory != nullptr ? GlobalLock(memory) : nullptr;
    const std::wstring copy = text != nullptr ? static_cast<const wchar_t*>(text) : L"";
    if (text != nullptr) GlobalUnlock(memory);
    CloseClipboard();
    return copy;
}

struct MiningCase {
    const char* plugIn;
    int algorithm;
    const char* poolOptions;
    int mode;
};
constexpr const char* kEtchash = QV_ALGOS "EtchashCpu.dll";
constexpr const char* kToy = "--algorithm toy --difficulty 2e6 --interval 5 ";

class ModeTest : public testing::TestWithParam<MiningCase> {};

TEST_P(ModeTest, SharesAreVerifiedAcceptedAndCounted) {
    CMinerRig rig;
    const MiningCase& each = GetParam();
    CPoolProcess pool(rig.Folder(), "pool", each.poolOptions + ("--mode " + std::to_string(each.mode)));
    ASSERT_NE(pool.Port(), 0u) << pool.Output();
    rig.Install(each.plugIn, each.algorithm);
    rig.Configure(pool.Port());
    ASSERT_NE(rig.Start(), nullptr);
    EXPECT_TRUE(pool.WaitForAccepted(6, kShareMilliseconds)) << pool.Output() << rig.ConnectionLog();
    const auto bothMine = [&] { return Contains(pool.Output(), "gpu=0") && Contains(pool.Output(), "gpu=1"); };
    EXPECT_TRUE(WaitUntil(kShareMilliseconds, bothMine)) << pool.Output();
    const auto bothHaveSpeed = [&] {
        const auto lines = rig.GridLines();
        return std::count_if(lines.begin(), lines.end(), [](auto& line) { return line.find(L"H/s") != line.npos; }) == 2;
    };
    EXPECT_TRUE(WaitUntil(kShareMilliseconds, bothHaveSpeed));
    const ULONGLONG closing = GetTickCount64();
    EXPECT_EQ(rig.Close(), 0);
    EXPECT_LT(GetTickCount64() - closing, 5000u);
    const std::vector<unsigned> counts = rig.ClosingCounts();
    const std::size_t accepted = pool.Count("share accepted");
    // A share that was answered while the program closed its connection is counted by the pool alone.
    EXPECT_LE(counts[0], accepted);
    EXPECT_GE(counts[0] + 2, accepted);
    EXPECT_EQ(pool.Refused(), 0u) << pool.Output();
    EXPECT_LE(counts[2], pool.Stale()) << pool.Output();

    // Every mode up to the pool's was tried, in order.
    const char* const subscribes[] = {"-> {\"id\":1,\"method\":\"eth_submitLogin\"", "-> {\"id\":1,\"jsonrpc\":\"2.0\"",
                                      "\"EthereumStratum/1.0.0\"]}", ",null,\"127.0.0.1\",\""};
    std::size_t at = 0;
    for (int mode = 0; mode <= each.mode; ++mode) {
        at = rig.ConnectionLog().find(subscribes[mode], at);
        EXPECT_NE(at, std::string::npos) << "mode " << mode << '\n' << rig.ConnectionLog();
    }
}

// A pool of one fixed mode drops every other log-in, so the later modes are reached by discovery.
INSTANTIATE_TEST_SUITE_P(Etchash, ModeTest,
                         testing::Values(MiningCase{kEtchash, 2, kEasy, 0}, MiningCase{kEtchash, 2, kEasy, 1},
                                         MiningCase{kEtchash, 2, kEasy, 2}));
INSTANTIATE_TEST_SUITE_P(Template, ModeTest,
                         testing::Values(MiningCase{QV_TEMPLATE, 9, kToy, 0}, MiningCase{QV_TEMPLATE, 9, kToy, 1},
                                         MiningCase{QV_TEMPLATE, 9, kToy, 2}, MiningCase{QV_TEMPLATE, 9, kToy, 3}));

TEST(FailoverTest, MovesToTheBackupPoolAndGoesOnMining) {
    CMinerRig rig;
    CPoolProcess dropping(rig.Folder(), "dropping", std::string(kEasy) + "--mode 0 --drop-after 3");
    CPoolProcess backup(rig.Folder(), "backup", kEasy);
    ASSERT_NE(dropping.Port() * backup.Port(), 0u);
    rig.Configure(dropping.Port(), backup.Port());
    ASSERT_NE(rig.Start(), nullptr);
    EXPECT_TRUE(backup.WaitForAccepted(2, kShareMilliseconds)) << rig.ConnectionLog();
    rig.Close();
    EXPECT_TRUE(Contains(rig.ConnectionLog(), "Disconnected")) << rig.ConnectionLog();
    EXPECT_TRUE(Contains(rig.ConnectionLog(), "*** Miner connect to Pool 2 - 127.0.0.1:")) << rig.ConnectionLog();
}

TEST(FailoverTest, AnUnreachablePrimaryIsLeftAfterFourTries) {
    CMinerRig rig;
    CPoolProcess backup(rig.Folder(), "backup", kEasy);
    ASSERT_NE(backup.Port(), 0u);
    rig.Configure(1, backup.Port());
    ASSERT_NE(rig.Start(), nullptr);
    EXPECT_TRUE(backup.WaitForAccepted(1, kShareMilliseconds)) << rig.ConnectionLog();
    rig.Close();
    EXPECT_TRUE(Contains(rig.ConnectionLog(), "Connect error: Connect failed(10061)")) << rig.ConnectionLog();
}

TEST(RefusalTest, ARefusedUserStopsMining) {
    CMinerRig rig;
    CPoolProcess pool(rig.Folder(), "pool", "--mode 1 --refuse-user");
    ASSERT_NE(pool.Port(), 0u) << pool.Output();
    rig.Configure(pool.Port());
    ASSERT_NE(rig.Start(), nullptr);
    EXPECT_TRUE(WaitUntil(30000, [&] { return Contains(rig.MainLog(), "Mining stopped."); })) << rig.ConnectionLog();
    EXPECT_TRUE(rig.WaitForText(kMiningState, L"State: Idle"));
    EXPECT_TRUE(rig.WaitForText(kPoolMessage, L"Invalid user provided"));
    EXPECT_EQ(rig.Close(), 0);
}

// What keeps a rig from mining stands in the window and in the event log, and goes again with it.
TEST(TroubleTest, IsSaidInTheWindowAndInTheEventLog) {
    struct Case {
        unsigned port;  // 0: of a pool that works
        const char* algorithm;
        std::wstring message;
    };
    const Case cases[] = {{1, "2", L"Connection refused; trying again"},
                          {0, "99", L"The plug-in for algorithm 99 is missing"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.algorithm);
        CMinerRig rig;
        CPoolProcess pool(rig.Folder(), "pool", kEasy);
        rig.Configure(c.port != 0 ? c.port : pool.Port());
        std::string configuration = FileBytes(rig.ConfigurationFile());
        const std::string algorithm = "Algo=\"2\"";
        configuration.replace(configuration.find(algorithm), algorithm.size(), std::string("Algo=\"") + c.algorithm + "\"");
        std::ofstream(rig.ConfigurationFile()) << configuration;
        ASSERT_NE(rig.Start(), nullptr);
        EXPECT_TRUE(rig.WaitForText(kPoolMessage, c.message));
        EXPECT_TRUE(rig.WaitForText(kMiningState, L"State: Mining"));
        EXPECT_EQ(rig.Close(), 0);
        const std::string events = FileBytes(rig.Folder() / "Logs" / "Quorvel-Miner_events.log");
        const std::string text(c.message.begin(), c.message.end());
        EXPECT_TRUE(Contains(events, "pool\tPool 1\t" + text)) << events;
        EXPECT_TRUE(Contains(events, "mining\t\tstarted with the program")) << events;
    }
}

// Simulated cards cannot hash: each says so plainly, and nothing claims a speed.
TEST(GpuPlugInTest, OnSimulatedCardsItIsListedAndSaysThatTheyCannotHash) {
    CMinerRig rig;
    CPoolProcess pool(rig.Folder(), "pool", std::string(kEasy) + "--mode 0");
    ASSERT_NE(pool.Port(), 0u) << pool.Output();
    for (const char* const name : {"Ubqhash.dll", "Ethash.dll", "Etchash.dll"})
        rig.Install(std::filesystem::path(QV_ALGOS) / name, 1);
    rig.Configure(pool.Port());
    ASSERT_NE(rig.Start(), nullptr);
    for (const char* const gpu : {"GPU 0", "GPU 1"}) {
        const std::string line =
            std::string("Etchash: ") + gpu +
            ": not hashing: the driver cannot run the kernels: cuCtxCreate: operation not supported (simulated GPU)";
        EXPECT_TRUE(WaitUntil(30000, [&] { return Contains(rig.MainLog(), line); })) << rig.MainLog();
    }
    EXPECT_TRUE(rig.WaitForText(kMiningState, L"State: Mining"));
    constexpr WPARAM kCopyDiagnostics = 0x40;
    PostMessageW(rig.Window(), WM_SYSCOMMAND, kCopyDiagnostics, 0);
    std::wstring copied;
    EXPECT_TRUE(WaitUntil(10000, [&] {
        copied = ClipboardText();
        return copied.find(L"GPU 1: not hashing") != std::wstring::npos;
    }));
    for (const wchar_t* const part :
         {L"System: Windows ", L"(simulated)", L"  Etchash (1)\r\n", L"  Ethash (3)\r\n", L"  Ubqhash (11)\r\n"})
        EXPECT_NE(copied.find(part), std::wstring::npos) << part;
    EXPECT_EQ(rig.Close(), 0);
    EXPECT_EQ(rig.ClosingCounts(), (std::vector<unsigned>{0, 0, 0}));
}

TEST(StartStopTest, PostedCommandsStartAndStopMining) {
    CMinerRig rig;
    CPoolProcess pool(rig.Folder(), "pool", kEasy);
    rig.Configure(pool.Port());
    rig.WriteSettings("MiningState=\"0\"");
    const HWND window = rig.Start();
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(rig.WaitForText(kMiningState, L"State: Idle"));
    for (int round = 0; round < 3; ++round) {
        PostMessageW(window, 0x1407, 1, 0);
        EXPECT_TRUE(rig.WaitForText(kMiningState, L"State: Mining"));
        PostMessageW(window, 0x1407, 0, 0);
        EXPECT_TRUE(rig.WaitForText(kMiningState, L"State: Idle"));
    }
    EXPECT_EQ(rig.Close(), 0);
    EXPECT_TRUE(Contains(FileBytes(rig.Folder() / "Settings" / "RuntimeSettingsMiner.xml"), "LastMiningState=\"0\""));
}

}  // namespace
