#include "mining/Mining.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "TestPlugin.h"
#include "common/CodePage.h"
#include "mining/AlgorithmEnumeration.h"
#include "mining/LogName.h"

namespace {

namespace fs = std::filesystem;

class CFakeClock final : public IClock {
  public:
    ddt_datetime UtcNow() const noexcept override { return now; }
    ddt_datetime now{133'000'000'000'000'000};
};

class CFakeHost final : public IStratumHost {
  public:
    CMiningStatistics* FindStatistics(std::int32_t) override { return nullptr; }
    void PoolErrorHappened(const PoolError&) override {}
    void RequestStopMining() override {}
    std::wstring DefaultWorkerName() override { return L"rig"; }
};

std::shared_ptr<PoolEntry> MakePool(std::int32_t algo, const wchar_t* name, const wchar_t* server) {
    auto pool = std::make_shared<PoolEntry>();
    pool->ID = 1;
    pool->Algo = algo;
    pool->Port = 1;  // nothing listens there
    CopyToField(name, pool->Name);
    CopyToField(server, pool->Server);
    return pool;
}

std::vector<RecordedMessage> TakeMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        DispatchMessageW(&message);
    const HMODULE module = GetModuleHandleW(L"recorder_plugin.dll");
    if (module == nullptr) return {};
    const auto take =
        reinterpret_cast<TakeMessagesFunction>(reinterpret_cast<void*>(GetProcAddress(module, "TakeMessages")));
    std::vector<RecordedMessage> messages(100);
    messages.resize(take(messages.data(), 100));
    return messages;
}

class MiningTest : public testing::Test {
  protected:
    void SetUp() override {
        EnumerateAlgorithms(NarrowToWide(QV_PLUGINS), m_algorithms);
        m_gpus[0].cudaId = 0;
        m_gpus[1].cudaId = 1;
        m_gpus[0].statistics.accepted = 7;
        m_gpus[1].statistics.solHistory.values[119] = 7;
        m_logFolder = fs::temp_directory_path() / ("mining-" + std::to_string(GetCurrentProcessId()));
        fs::create_directories(m_logFolder);
        m_context.connectionLogFolder = m_logFolder.wstring() + L"\\";
    }
    void TearDown() override {
        m_mining.Stop();
        std::error_code ignored;
        fs::remove_all(m_logFolder, ignored);
    }

    MinerConfiguration Configuration(std::int32_t algo, const wchar_t* name = L"Pool") {
        ConfigurationEntry entry;
        entry.primaryPool = MakePool(algo, name, L"127.0.0.1");
        entry.secondaryPool = m_backup;
        entry.gpus = {&m_gpus[0], &m_gpus[1]};
        MinerConfiguration configuration;
        configuration.configurations = {entry};
        return configuration;
    }

    std::string LogText() const {
        std::ostringstream text;
        for (const auto& file : fs::directory_iterator(m_logFolder))
            text << std::ifstream(file.path(), std::ios::binary).rdbuf();
        return text.str();
    }

    CFakeClock m_clock;
    CFakeHost m_host;
    CAlgorithmList m_algorithms;
    CBKLogSystem m_mainLog;
    QvGpuRecord m_gpus[2] = {};
    fs::path m_logFolder;
    std::shared_ptr<PoolEntry> m_backup = MakePool(kRecorderId, L"Backup", L"127.0.0.1");
    MiningContext m_context{m_algorithms, m_host, m_clock, m_mainLog};
    CMining m_mining{m_context};
};

TEST_F(MiningTest, StartTellsThePluginInOrder) {
    ASSERT_EQ(m_mining.Start(Configuration(kRecorderId)), 0);
    EXPECT_EQ(m_mining.Start(Configuration(kRecorderId)), -1) << "mining runs already";
    const CMiningManager& manager = *m_mining.Managers()[0];
    const std::vector<RecordedMessage> messages = TakeMessages();
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_EQ(messages[0].message, 0x2400u);
    EXPECT_EQ(messages[0].wParam, reinterpret_cast<WPARAM>(manager.Handle()));
    EXPECT_EQ(messages[1].message, 0x2401u);
    EXPECT_EQ(reinterpret_cast<QvGpuRecord* const*>(messages[1].wParam)[1], &m_gpus[1]);
    EXPECT_EQ(messages[1].lParam, 2);
    EXPECT_EQ(messages[2].message, 0x2403u);
    EXPECT_EQ(messages[3].message, 0x2408u) << "a session that never had a job replays nothing else";
    EXPECT_EQ(messages[3].wParam, reinterpret_cast<WPARAM>(&manager.UserSession().WorkBlock()));
    EXPECT_EQ(m_gpus[0].statistics.accepted, 0u);
    EXPECT_EQ(m_gpus[1].statistics.solHistory.values[119], 0u);
}

TEST_F(MiningTest, StopFreesThePluginAndIsIdempotent) {
    ASSERT_EQ(m_mining.Start(Configuration(kRecorderId)), 0);
    TakeMessages();
    m_mining.Stop();
    EXPECT_FALSE(m_mining.IsRunning());
    EXPECT_TRUE(m_mining.Managers().empty());
    EXPECT_EQ(GetModuleHandleW(L"recorder_plugin.dll"), nullptr);
    m_mining.Stop();
    EXPECT_EQ(m_mining.Start(Configuration(kRecorderId)), 0) << "mining starts again after a stop";
}

TEST_F(MiningTest, NoConfigurationIsRefused) {
    EXPECT_EQ(m_mining.Start(MinerConfiguration()), -1);
    EXPECT_FALSE(m_mining.IsRunning());
}

TEST_F(MiningTest, SessionWithoutAlgorithmFailsAloneAndIsRemovedByStop) {
    m_context.connectionLog = true;
    MinerConfiguration configuration = Configuration(4711, L"Lost");
    configuration.configurations.push_back(Configuration(kRecorderId).configurations[0]);
    ASSERT_EQ(m_mining.Start(configuration), 0);
    ASSERT_EQ(m_mining.Managers().size(), 2u);
    EXPECT_TRUE(m_mining.Managers()[0]->HasFailed());
    EXPECT_FALSE(m_mining.Managers()[0]->UserSession().IsRunning());
    EXPECT_FALSE(m_mining.Managers()[1]->HasFailed());
    m_mining.Stop();
    const std::string log = LogText();
    EXPECT_NE(log.find("*** Miner connect to Lost - 127.0.0.1:1"), std::string::npos) << log;
    EXPECT_NE(log.find("Failed to load pool configuration/algo: Lost\r\n"), std::string::npos) << log;
}

TEST_F(MiningTest, PluginWithoutWindowMinesNothingButHarmsNothing) {
    ASSERT_EQ(m_mining.Start(Configuration(kNullWindowId)), 0);
    TakeMessages();
    EXPECT_FALSE(m_mining.Managers()[0]->HasFailed());
    m_mining.Stop();
}

TEST_F(MiningTest, ReconnectMessageIsObeyedForItsOwnSessionsOnly) {
    ASSERT_EQ(m_mining.Start(Configuration(kRecorderId)), 0);
    CMiningManager& manager = *m_mining.Managers()[0];
    manager.UserSession().SetCurrentPoolIndex(1);
    int stranger = 0;
    SendMessageW(manager.Handle(), 0x3407, reinterpret_cast<WPARAM>(&stranger), 0);
    SendMessageW(manager.Handle(), 0x3407, 0, 0);
    EXPECT_TRUE(manager.UserSession().IsRunning());
    SendMessageW(manager.Handle(), 0x3407, reinterpret_cast<WPARAM>(&manager.UserSession()), 0);
    EXPECT_TRUE(manager.UserSession().IsRunning());
    EXPECT_STREQ(manager.UserSession().CurrentPool()->Name, L"Backup");
    for (const UINT ignored : {0x3400u, 0x3401u, 0x3404u, 0x3405u, 0x3406u}) {
        EXPECT_EQ(SendMessageW(manager.Handle(), ignored, 1, 1), 0);
    }
}

TEST_F(MiningTest, WithoutABackupServerThePrimaryIsTheOnlyPool) {
    m_backup->Server[0] = L'\0';
    ASSERT_EQ(m_mining.Start(Configuration(kRecorderId)), 0);
    CMiningManager& manager = *m_mining.Managers()[0];
    manager.UserSession().SetCurrentPoolIndex(1);
    EXPECT_EQ(manager.UserSession().CurrentPool(), nullptr) << "there is a second pool";
}

TEST_F(MiningTest, AccountingCountsTimeOfTheWorkSourceOnly) {
    ASSERT_EQ(m_mining.Start(Configuration(kRecorderId)), 0);
    CMiningManager& manager = *m_mining.Managers()[0];
    const auto tick = [&](std::int64_t seconds) {
        m_clock.now.ticks += seconds * kTicksPerSecond;
        SendMessageW(manager.Handle(), WM_TIMER, 2, 0);
    };
    tick(30);
    tick(31);
    EXPECT_EQ(manager.UserSession().minedTime, 61 * kTicksPerSecond);
    EXPECT_EQ(manager.UserSession().activeTime, 61 * kTicksPerSecond);
    tick(-3600);  // the system clock was set back
    EXPECT_EQ(manager.UserSession().minedTime, 61 * kTicksPerSecond);
    manager.UserSession().Pause();
    tick(30);
    EXPECT_EQ(manager.UserSession().minedTime, 61 * kTicksPerSecond);
}

TEST_F(MiningTest, ADeadConnectionIsTakenUpAgain) {
    ASSERT_EQ(m_mining.Start(Configuration(kRecorderId)), 0);
    CMiningManager& manager = *m_mining.Managers()[0];
    manager.UserSession().CloseConnection();
    ASSERT_FALSE(manager.UserSession().IsRunning());
    SendMessageW(manager.Handle(), WM_TIMER, 2, 0);
    EXPECT_TRUE(manager.UserSession().IsRunning());
    manager.UserSession().CloseConnection();
    manager.UserSession().SetStopped(true);
    SendMessageW(manager.Handle(), WM_TIMER, 2, 0);
    EXPECT_FALSE(manager.UserSession().IsRunning());
}

TEST(LogNameTest, ReplacesWhatNoFileNameMayHold) {
    EXPECT_EQ(ConnectionLogName(L"a<b>c:d\"e/f\\g|h?i*j [k]'%"), L"Miner-[a#b#c#d#e#f#g#h#i#j [k]'%]");
}

}  // namespace
