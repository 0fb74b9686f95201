// The developer fee as the manager carries it out, on a clock set by hand.
#include <future>
#include <random>

#include "MiningFixture.h"
#include "mining/FeePools.h"

namespace {

class FeePeriodTest : public MiningTest {
  protected:
    void SetUp() override {
        MiningTest::SetUp();
        // Nothing listens at the pools: with a second one the session would change between them on its own time.
        m_backup->Server[0] = L'\0';
        m_context.feePools = [this](std::int32_t) {
            return std::vector<PoolPointer>{MakePool(kRecorderId, L"DevFee", L"127.0.0.1"),
                                            MakePool(kRecorderId, L"DevFee 2", L"127.0.0.1")};
        };
        m_context.connectionLog = true;
    }
    CMiningManager& Start() {
        EXPECT_EQ(m_mining.Start(Configuration(kRecorderId)), 0);
        return *m_mining.Managers()[0];
    }
    void Tick(CMiningManager& manager, TimeSpan span = 30 * kTicksPerSecond) {
        m_clock.now.ticks += span;
        SendMessageW(manager.Handle(), WM_TIMER, 2, 0);
    }
    // Ticks until the mode is reached; returns how many that took.
    int TickUntil(CMiningManager& manager, CMiningManager::Mode mode) {
        int ticks = 0;
        for (; manager.CurrentMode() != mode && ticks < 2000; ++ticks)
            Tick(manager);
        return ticks;
    }
};

using Mode = CMiningManager::Mode;
using Role = CMiningManager::PoolRole;

TEST_F(FeePeriodTest, ComesAfterTwoAndAHalfHoursAndLastsWhatIsOwed) {
    CMiningManager& manager = Start();
    for (int i = 0; i < 200; ++i)
        Tick(manager);
    EXPECT_FALSE(manager.FeeSession().IsRunning()) << "connected too early";
    Tick(manager);
    EXPECT_TRUE(manager.FeeSession().IsRunning());
    EXPECT_TRUE(manager.FeeSession().IsPaused());
    TakeMessages();
    EXPECT_EQ(TickUntil(manager, Mode::Fee), 297 - 201);
    EXPECT_EQ(manager.CurrentRole(), Role::Fee);
    EXPECT_TRUE(manager.UserSession().IsPaused());
    EXPECT_TRUE(manager.UserSession().IsRunning()) << "the user's connection stays open";
    manager.UserSession().SetCurrentPoolIndex(1);  // it fails over meanwhile
    EXPECT_EQ(TickUntil(manager, Mode::User), 3);
    EXPECT_EQ(manager.UserSession().CurrentPoolIndex(), 0u);
    EXPECT_EQ(manager.CurrentRole(), Role::Primary);
    EXPECT_FALSE(manager.FeeSession().IsRunning());
    EXPECT_FALSE(manager.UserSession().IsPaused());
    EXPECT_EQ(manager.UserSession().minedTime, 0);
    EXPECT_EQ(manager.FeeSession().minedTime, 0);
    const std::vector<RecordedMessage> messages = TakeMessages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].message, 0x2408u);
    EXPECT_EQ(messages[0].wParam, reinterpret_cast<WPARAM>(&manager.FeeSession().WorkBlock()));
    EXPECT_EQ(messages[1].message, 0x2408u);
    EXPECT_EQ(messages[1].wParam, reinterpret_cast<WPARAM>(&manager.UserSession().WorkBlock()));

    // A pool switch that the fee session asked for before its period ended connects nothing.
    SendMessageW(manager.Handle(), 0x3407, reinterpret_cast<WPARAM>(&manager.FeeSession()), 0);
    EXPECT_FALSE(manager.FeeSession().IsRunning());

    m_mining.Stop();
    const std::string log = LogText();
    for (const char* line :
         {"Developer fee: begins, 00:01:29 owed for 02:28:30 mined", "Developer fee: ends, 00:01:30 mined of 00:01:29 owed",
          "Mined 02:28:30 for Pool and 00:01:30 for the developer (shares A:0 R:0)"}) {
        EXPECT_NE(log.find(line), std::string::npos) << line << '\n' << log;
    }
}

TEST_F(FeePeriodTest, TheUserMinesAQuarterOfAnHourBeforeTheNextPeriod) {
    CMiningManager& manager = Start();
    Tick(manager, 30 * 24 * 3600 * kTicksPerSecond);  // a timer that came late by a month
    EXPECT_EQ(manager.CurrentMode(), Mode::Fee);
    EXPECT_EQ(TickUntil(manager, Mode::User), 8) << "240 s at most";
    Tick(manager, 2 * 3600 * kTicksPerSecond);
    EXPECT_EQ(manager.CurrentMode(), Mode::User) << "what was owed before is paid";
}

TEST_F(FeePeriodTest, AFeeConnectionThatEndedIsTakenUpAgainDuringThePeriod) {
    CMiningManager& manager = Start();
    TickUntil(manager, Mode::Fee);
    manager.FeeSession().CloseConnection();
    Tick(manager);
    EXPECT_TRUE(manager.FeeSession().IsRunning());
}

TEST_F(FeePeriodTest, PoolsAreOrderedOffTheGuiThreadAndALateOrderIsUsedAtTheNextConnect) {
    auto released = std::make_shared<std::promise<void>>();
    const std::shared_future<void> gate = released->get_future().share();
    auto done = std::make_shared<std::atomic<int>>(0);
    const DWORD gui = GetCurrentThreadId();
    m_context.ping = [=](const PoolEntry& pool, std::uint32_t& roundTrip) {
        EXPECT_NE(GetCurrentThreadId(), gui);
        gate.wait();
        roundTrip = std::wstring(pool.Name) == L"DevFee" ? 80 : 8;
        ++*done;
        return true;
    };
    CMiningManager& manager = Start();
    TickUntil(manager, Mode::Fee);  // nothing waits for the pings
    EXPECT_STREQ(manager.FeeSession().CurrentPool()->Name, L"DevFee");
    released->set_value();
    for (int i = 0; i < 1000 && *done < 10; ++i)
        Sleep(5);
    ASSERT_EQ(*done, 10) << "five pings for each pool";
    TickUntil(manager, Mode::User);
    for (int i = 0; i < 1000 && !manager.FeeSession().IsRunning(); ++i)
        Tick(manager);
    EXPECT_STREQ(manager.FeeSession().CurrentPool()->Name, L"DevFee 2");
}

// A month in which the user's connection fails over now and then, mining is stopped and started four times, no fee pool
// answers, and the timer is late by up to 50 ms.
TEST_F(FeePeriodTest, OverAMonthTheDeveloperGetsOnePerCent) {
    m_context.connectionLog = false;
    constexpr TimeSpan kMonth = 30 * kTicksPerDay;
    std::mt19937 random(1);
    TimeSpan user = 0;
    TimeSpan fee = 0;
    int periods = 0;
    const ddt_datetime end = {m_clock.now.ticks + kMonth};
    while (m_clock.now < end) {
        CMiningManager& manager = Start();
        const TimeSpan stop = m_clock.now.ticks + kMonth / 5 + static_cast<TimeSpan>(random() % 7200) * kTicksPerSecond;
        while (m_clock.now.ticks < stop && m_clock.now < end) {
            const Mode before = manager.CurrentMode();
            if (random() % 500 == 0) manager.UserSession().SetCurrentPoolIndex(1);
            Tick(manager, 30 * kTicksPerSecond + static_cast<TimeSpan>(random() % 50) * kTicksPerMillisecond);
            if (before == Mode::User && manager.CurrentMode() == Mode::Fee) ++periods;
            if (before == Mode::Fee && manager.CurrentMode() == Mode::User) {
                EXPECT_EQ(manager.UserSession().CurrentPoolIndex(), 0u);
            }
            const double owed = 0.01 * static_cast<double>(user + manager.UserTime());
            EXPECT_LE(static_cast<double>(fee + manager.FeeTime()), owed + 30.0 * kTicksPerSecond * periods);
        }
        user += manager.UserTime();
        fee += manager.FeeTime();
        TakeMessages();
        m_mining.Stop();
    }
    const double percent = 100.0 * static_cast<double>(fee) / static_cast<double>(user);
    std::printf("30 days: %d fee periods, %.4f %% of the user's mining time\n", periods, percent);
    EXPECT_NEAR(percent, 1.0, 0.02);
    EXPECT_EQ(m_host.stopRequests, 0);
}

TEST(FeePoolsTest, EveryAlgorithmHasItsPoolsAndNoIdIsGivenTwice) {
    struct Case {
        std::int32_t algorithm;
        std::vector<std::uint32_t> ports;
        std::size_t walletLength;
    };
    const Case cases[] = {
        {7, {3910, 3910, 3910}, 34},     {8, {3910, 3910, 3910}, 34}, {11, {10008, 10008, 10008}, 42},
        {12, {10008, 10008, 10008}, 42}, {2, {4444, 14444}, 42},      {-1, {4444, 14444}, 42},
    };
    const CAlgorithmList algorithms;
    CFeePoolIds ids;
    std::uint32_t id = static_cast<std::uint32_t>(-2);
    for (const Case& value : cases) {
        SCOPED_TRACE(value.algorithm);
        std::vector<std::uint32_t> ports;
        for (const PoolPointer& pool : BuildFeePools(value.algorithm, algorithms, ids)) {
            ports.push_back(pool->Port);
            EXPECT_EQ(pool->ID, id--);
            EXPECT_STREQ(pool->Name, L"DevFee");
            EXPECT_STREQ(pool->WorkerOverride, L"QVMiner_41UI");
            EXPECT_STREQ(pool->Password, L"");
            EXPECT_NE(pool->algorithm, nullptr);
            const std::wstring server = pool->Server;
            EXPECT_TRUE(server.ends_with(L".example")) << "as shipped, nobody is paid";
            EXPECT_EQ(std::wstring(pool->WalletUser).size(), value.walletLength);
        }
        EXPECT_EQ(ports, value.ports);
    }
}

}  // namespace
