#include "MiningFixture.h"
#include "mining/LogName.h"

namespace {

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
    EXPECT_EQ(messages[3].wParam, reinterpret_cast<WPARAM>(&manager.Core().User().WorkBlock()));
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
    EXPECT_TRUE(m_mining.Managers()[0]->Core().HasFailed());
    EXPECT_FALSE(m_mining.Managers()[0]->UserSession().IsRunning());
    EXPECT_FALSE(m_mining.Managers()[1]->Core().HasFailed());
    m_mining.Stop();
    const std::string log = LogText();
    EXPECT_NE(log.find("*** Miner connect to Lost - 127.0.0.1:1"), std::string::npos) << log;
    EXPECT_NE(log.find("Failed to load pool configuration/algo: Lost\r\n"), std::string::npos) << log;
}

TEST_F(MiningTest, PluginWithoutWindowMinesNothingButHarmsNothing) {
    ASSERT_EQ(m_mining.Start(Configuration(kNullWindowId)), 0);
    TakeMessages();
    EXPECT_FALSE(m_mining.Managers()[0]->Core().HasFailed());
    m_mining.Stop();
}

TEST(LogNameTest, ReplacesWhatNoFileNameMayHold) {
    EXPECT_EQ(ConnectionLogName(L"a<b>c:d\"e/f\\g|h?i*j [k]'%"), L"Miner-[a#b#c#d#e#f#g#h#i#j [k]'%]");
}

}  // namespace
