// One whole fee cycle: real hashing, two local pools that verify every share, and a clock set by hand.
#include <winsock2.h>

#include <gtest/gtest.h>

#include "PoolProcess.h"
#include "common/CodePage.h"
#include "fixtures/HandClock.h"
#include "fixtures/ScratchFolder.h"
#include "mining/AlgorithmEnumeration.h"
#include "mining/Mining.h"

extern "C" __declspec(dllexport) int QuorvelSend(void* session, const char* text, std::uint32_t length);
int QuorvelSend(void* session, const char* text, std::uint32_t length) {
    return static_cast<int>(static_cast<CMiningStratum*>(session)->Session().SubmitShare({text, length}));
}

namespace {

namespace fs = std::filesystem;

constexpr int kEtchashCpu = 2;
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

PoolPointer MakePool(const wchar_t* name, unsigned port) {
    auto pool = std::make_shared<PoolEntry>();
    pool->ID = port;
    pool->Algo = kEtchashCpu;
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

class FeeCycleTest : public testing::Test {
  protected:
    FeeCycleTest() {
        fs::copy_file(fs::path(QV_ALGOS) / "EtchashCpu.dll", m_folder.Path("EtchashCpu.dll"));
        CEventLog events;
        EnumerateAlgorithms(m_folder.Path(""), m_folder.Path("PlugIns.txt"), events, m_algorithms);
        m_mainLog.enabled = 0;
        WSADATA data = {};
        WSAStartup(MAKEWORD(2, 2), &data);
    }
    ~FeeCycleTest() override {
        m_mining.Stop();
        WSACleanup();
    }

    void Pump() {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
    }
    bool PumpUntil(const std::function<bool()>& condition) {
        return WaitUntil(kPatienceMs, [&] { return Pump(), condition(); });
    }
    CMiningManager& Start(unsigned userPort) {
        ConfigurationEntry entry;
        entry.primaryPool = entry.secondaryPool = MakePool(L"User", userPort);
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
    CHandSetClock m_clock;
    QvGpuRecord m_gpu = {};
    CHost m_host{m_gpu.statistics};
    CAlgorithmList m_algorithms;
    CBKLogSystem m_mainLog;
    unsigned m_feePort = 0;
    CNoEvents m_events;
    CTroubleBoard m_troubles;
    CPlugInMessages m_plugInMessages;
    MiningContext m_context{.algorithms = m_algorithms,
                            .stratumHost = m_host,
                            .clock = m_clock,
                            .mainLog = m_mainLog,
                            .events = m_events,
                            .troubles = m_troubles,
                            .plugInMessages = m_plugInMessages,
                            .feePools = [this](std::int32_t) { return std::vector{MakePool(L"DevFee", m_feePort)}; }};
    CMining m_mining{m_context};
};

TEST_F(FeeCycleTest, SharesGoToTheFeePoolForItsPeriodAndToTheUsersAgain) {
    const std::string options = "--difficulty 300 --interval 5 ";
    CPoolProcess user(m_folder.Path(), "user", options + "--mode 0");
    CPoolProcess fee(m_folder.Path(), "fee", options + "--mode 0");
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
    const std::size_t ofUser = accepted(user);  // a share on its way when the period began has arrived by now
    ASSERT_TRUE(PumpUntil([&] { return accepted(fee) >= 4; })) << fee.Output();
    EXPECT_EQ(accepted(user), ofUser) << "the user's pool got a share of the fee period";
    EXPECT_TRUE(manager.Core().User().IsReady()) << "the user's connection stays open";

    Tick(manager, 3);
    ASSERT_EQ(manager.Core().CurrentMode(), CManagerCore::Mode::User);
    EXPECT_FALSE(manager.FeeSession().IsRunning());
    const std::size_t ofFee = accepted(fee);
    ASSERT_TRUE(PumpUntil([&] { return accepted(user) >= ofUser + 2; })) << user.Output();
    EXPECT_LE(accepted(fee), ofFee + 1) << "the fee pool got shares after its period";
    EXPECT_EQ(user.Refused() + fee.Refused(), 0u) << user.Output() << fee.Output();

    // The report of the hash rate, as the user's pool received it.
    ASSERT_TRUE(PumpUntil([&] { return m_gpu.statistics.hashSpeed > 0; }));
    SendMessageW(manager.Handle(), WM_TIMER, 1, 0);
    EXPECT_TRUE(PumpUntil([&] { return user.Count("hashrate client=") == 1; })) << user.Output();
    EXPECT_EQ(fee.Count("hashrate"), 0u);
    const std::string output = user.Output();
    const std::size_t line = output.find("hashrate client=");
    std::printf("the pool received: %s\n", output.substr(line, output.find('\n', line) - line).c_str());
}

TEST_F(FeeCycleTest, BadFeePoolsNeverStopTheUsersMining) {
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
