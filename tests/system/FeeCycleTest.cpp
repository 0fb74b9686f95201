// Whole fee cycles: real hashing, on the CPU or on simulated cards, two local pools that verify every share, and a clock set
// by hand.
#include <winsock2.h>

#include <gtest/gtest.h>

#include <mutex>

#include "PoolProcess.h"
#include "common/CodePage.h"
#include "fixtures/HandClock.h"
#include "fixtures/ScratchFolder.h"
#include "mining/AlgorithmEnumeration.h"
#include "mining/FeePools.h"
#include "mining/Mining.h"

extern "C" __declspec(dllexport) int QuorvelSend(void* session, const char* text, std::uint32_t length);
int QuorvelSend(void* session, const char* text, std::uint32_t length) {
    return static_cast<int>(static_cast<CMiningStratum*>(session)->Session().SubmitShare({text, length}));
}

namespace {
std::mutex g_logLock;
std::wstring g_log;
}  // namespace

extern "C" __declspec(dllexport) void QuorvelLog(const wchar_t* text);
void QuorvelLog(const wchar_t* text) {
    const std::lock_guard lock(g_logLock);
    g_log.append(text) += L'\n';
}

namespace {

namespace fs = std::filesystem;

constexpr DWORD kPatienceMs = 90000;

class CHost final : public IStratumHost {
  public:
    explicit CHost(CMiningStatistics& statistics) : m_statistics(statistics) {}
    CMiningStatistics* FindStatistics(std::int32_t cudaId) override { return cudaId == 0 ? &m_statistics : nullptr; }
    void PoolErrorHappened(const PoolError&) override {}
    void RequestStopMining(const std::string&) override { ADD_FAILURE() << "a pool stops mining"; }
    std::wstring DefaultWorkerName() override { return L"rig"; }

  private:
    CMiningStatistics& m_statistics;
};

PoolPointer MakePool(const wchar_t* name, unsigned port, std::int32_t algorithm) {
    auto pool = std::make_shared<PoolEntry>();
    pool->ID = port;
    pool->Algo = algorithm;
    pool->Port = port;
    CopyToField(name, pool->Name);
    CopyToField(L"127.0.0.1", pool->Server);
    CopyToField(L"0xwallet", pool->WalletUser);
    return pool;
}

class CNoEvents final : public IEventSink {
  public:
    void Event(EventKind, std::wstring_view, std::wstring_view) override {}
};

// What a user's pool of the plug-in's coin mines, and how many light caches the plug-in makes: one, and on cards the one of
// the next epoch. The epochs are such that no other coin has them.
struct PlugInRow {
    std::int32_t id;
    const char* library;
    const char* coin;
    std::size_t lightCaches;
};
constexpr char kEtchash[] = "--variant etchash --block 11700000", kEthash[] = "--variant ethash --block 0",
               kUbqhash[] = "--variant ubqhash --block 660000";
constexpr PlugInRow kPlugIns[] = {{1, "Etchash", kEtchash, 2},  {2, "EtchashCpu", kEtchash, 1},
                                  {3, "Ethash", kEthash, 2},    {4, "EthashCpu", kEthash, 1},
                                  {11, "Ubqhash", kUbqhash, 2}, {12, "UbqhashCpu", kUbqhash, 1}};

std::size_t CountLogged(const std::wstring& text) {
    const std::lock_guard lock(g_logLock);
    std::size_t count = 0;
    for (std::size_t at = g_log.find(text); at != g_log.npos; at = g_log.find(text, at + 1))
        ++count;
    return count;
}

class FeeCycleTest : public testing::TestWithParam<PlugInRow> {
  protected:
    FeeCycleTest() {
        g_log.clear();
        const std::string library = std::string(GetParam().library) + ".dll";
        fs::copy_file(fs::path(QV_ALGOS) / library, m_folder.Path(library));
        LoadSimulatedCards();
        CEventLog events;
        EnumerateAlgorithms(m_folder.Path(""), m_folder.Path("PlugIns.txt"), events, m_algorithms);
        m_mainLog.enabled = 0;
        WSADATA data = {};
        WSAStartup(MAKEWORD(2, 2), &data);
    }
    ~FeeCycleTest() override {
        m_mining.Stop();
        WSACleanup();
        if (m_cards != nullptr) FreeLibrary(m_cards);
    }

    // The plug-ins take the driver that the program has loaded.
    void LoadSimulatedCards() {
        const fs::path folder = m_folder.Path("driver");
        fs::create_directory(folder);
        fs::copy_file(fs::path(QV_SIM) / "nvcuda.dll", folder / "nvcuda.dll");
        std::string text = FileBytes(fs::path(QV_SIM_INI));
        for (const auto& [key, value] : {std::pair<std::string, char>("Computes=", '1'), {"MultiProcessors=", '1'}}) {
            const std::size_t at = text.find("\n" + key) + 1 + key.size();
            text.replace(at, text.find('\n', at) - at, 1, value);
        }
        WriteFileBytes((folder / "SimGpus.ini").wstring(), text);
        m_cards = LoadLibraryW((folder / "nvcuda.dll").c_str());
        EXPECT_NE(m_cards, nullptr);
    }
    // What a pool of the developer's first pool's coin mines.
    std::string FeeCoin() const {
        CFeePoolIds ids;
        const std::wstring server = BuildFeePools(GetParam().id, m_algorithms, ids)[0]->Server;
        return server.starts_with(L"etc-") ? kEtchash : server.starts_with(L"ubq-") ? kUbqhash : kEthash;
    }

    void Pump() {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
    }
    bool PumpUntil(const std::function<bool()>& condition) {
        return WaitUntil(kPatienceMs, [&] { return Pump(), condition(); });
    }
    // What the count is when a busy pool has worked off what it was sent.
    std::size_t Settled(const std::function<std::size_t()>& count) {
        constexpr DWORD kQuietMs = 300;
        std::size_t last = count();
        ULONGLONG since = GetTickCount64();
        PumpUntil([&] {
            if (count() != last) last = count(), since = GetTickCount64();
            return GetTickCount64() - since >= kQuietMs;
        });
        return last;
    }
    CMiningManager& Start(unsigned userPort) {
        ConfigurationEntry entry;
        entry.primaryPool = entry.secondaryPool = MakePool(L"User", userPort, GetParam().id);
        entry.gpus = {&m_gpu};
        MinerConfiguration configuration;
        configuration.configurations = {entry};
        EXPECT_EQ(m_mining.Start(configuration), 0);
        return *m_mining.Managers()[0];
    }
    void Tick(CMiningManager& manager, int count) {
        for (int i = 0; i < count; ++i) {
            m_clock.ticks += 30 * kTicksPerSecond;
            SendMessageW(manager.Handle(), WM_TIMER, 2, 0);
        }
    }
    CScratchFolder m_folder;
    HMODULE m_cards = nullptr;
    CHandSetClock m_clock;
    QvGpuRecord m_gpu = {};
    CHost m_host{m_gpu.statistics};
    CAlgorithmList m_algorithms;
    CBKLogSystem m_mainLog;
    unsigned m_feePort = 0;
    CNoEvents m_events;
    CTroubleBoard m_troubles;
    CPlugInMessages m_plugInMessages;
    MiningContext m_context{
        .algorithms = m_algorithms,
        .stratumHost = m_host,
        .clock = m_clock,
        .mainLog = m_mainLog,
        .events = m_events,
        .troubles = m_troubles,
        .plugInMessages = m_plugInMessages,
        .feePools = [this](std::int32_t) { return std::vector{MakePool(L"DevFee", m_feePort, GetParam().id)}; }};
    CMining m_mining{m_context};
};

TEST_P(FeeCycleTest, SharesGoToTheFeePoolForItsPeriodAndToTheUsersAgain) {
    const std::string options = "--difficulty 60 --interval 5 --mode 0 ";
    CPoolProcess user(m_folder.Path(), "user", options + GetParam().coin);
    CPoolProcess fee(m_folder.Path(), "fee", options + FeeCoin());
    ASSERT_NE(user.Port() * fee.Port(), 0u);
    m_feePort = fee.Port();
    const auto accepted = [](const CPoolProcess& pool) { return pool.Count("share accepted"); };

    CMiningManager& manager = Start(user.Port());
    ASSERT_TRUE(PumpUntil([&] { return accepted(user) >= 2; })) << user.Output();

    Tick(manager, 201);  // 100 minutes and a half: the fee session is to be connected
    ASSERT_TRUE(PumpUntil([&] { return manager.Core().Fee().IsReady() && fee.Count("job ") > 0; })) << fee.Output();
    EXPECT_EQ(accepted(fee), 0u) << "the fee pool got work before its period";
    Tick(manager, 95);
    EXPECT_EQ(manager.Core().CurrentMode(), CManagerCore::Mode::User);
    Tick(manager, 1);
    ASSERT_EQ(manager.Core().CurrentMode(), CManagerCore::Mode::Fee);

    ASSERT_TRUE(PumpUntil([&] { return accepted(fee) >= 1; })) << fee.Output();
    const std::size_t ofUser = Settled([&] { return accepted(user); });  // shares that were on their way have arrived
    ASSERT_TRUE(PumpUntil([&] { return accepted(fee) >= 4; })) << fee.Output();
    EXPECT_EQ(accepted(user), ofUser) << "the user's pool got a share of the fee period";
    EXPECT_TRUE(manager.Core().User().IsReady()) << "the user's connection stays open";

    Tick(manager, 3);
    ASSERT_EQ(manager.Core().CurrentMode(), CManagerCore::Mode::User);
    EXPECT_FALSE(manager.FeeSession().IsRunning());
    // What was sent before has been answered when the pool has seen the end of the connection.
    ASSERT_TRUE(PumpUntil([&] { return fee.Count("disconnected") > 0; })) << fee.Output();
    const std::size_t ofFee = accepted(fee);
    ASSERT_TRUE(PumpUntil([&] { return accepted(user) >= ofUser + 2; })) << user.Output();
    EXPECT_EQ(accepted(fee), ofFee) << "the fee pool got shares after its period";
    EXPECT_EQ(user.Refused() + fee.Refused(), 0u) << user.Output() << fee.Output();

    EXPECT_EQ(CountLogged(L"making the light cache of"), GetParam().lightCaches);
    EXPECT_EQ(CountLogged(L"making the dataset of"), GetParam().lightCaches - 1) << "only cards have one";

    // The report of the hash rate, as the user's pool received it.
    ASSERT_TRUE(PumpUntil([&] { return m_gpu.statistics.hashSpeed > 0; }));
    SendMessageW(manager.Handle(), WM_TIMER, 1, 0);
    EXPECT_TRUE(PumpUntil([&] { return user.Count("hashrate client=") == 1; })) << user.Output();
    EXPECT_EQ(fee.Count("hashrate"), 0u);
}

INSTANTIATE_TEST_SUITE_P(EveryPlugIn, FeeCycleTest, testing::ValuesIn(kPlugIns),
                         [](const auto& row) { return std::string(row.param.library); });

class FeeFaultTest : public FeeCycleTest {};
INSTANTIATE_TEST_SUITE_P(OnePlugIn, FeeFaultTest, testing::Values(PlugInRow{2, "EtchashCpu", "", 1}));

TEST_P(FeeFaultTest, BadFeePoolsNeverStopTheUsersMining) {
    CPoolProcess user(m_folder.Path(), "user", "--difficulty 300 --interval 5 --mode 0");
    ASSERT_NE(user.Port(), 0u);
    const auto accepted = [&] { return user.Count("share accepted"); };
    for (const char* fault : {"--drop-after 1", "--garbage instead", "--mode 1 --refuse-user", "--mode 3 --drop-after 1"}) {
        SCOPED_TRACE(fault);
        CPoolProcess fee(m_folder.Path(), "fee", fault);
        ASSERT_NE(fee.Port(), 0u) << fee.Output();
        m_feePort = fee.Port();
        CMiningManager& manager = Start(user.Port());
        Tick(manager, 250);
        ASSERT_TRUE(PumpUntil([&] { return fee.Count("client") > 0; })) << fee.Output();
        const std::size_t before = accepted();
        ASSERT_TRUE(PumpUntil([&] { return accepted() > before; })) << user.Output();
        Tick(manager, 60);
        ASSERT_EQ(manager.Core().CurrentMode(), CManagerCore::Mode::User);
        EXPECT_GT(manager.Core().FeeTime(), 0) << "the period has not been";
        const std::size_t after = accepted();
        ASSERT_TRUE(PumpUntil([&] { return accepted() > after; })) << user.Output();
        m_mining.Stop();
    }
}

}  // namespace
