// The developer fee as the manager carries it out, on a clock set by hand.
#include <future>

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
    int TickUntil(CMiningManager& manager, CManagerCore::Mode mode) {
        int ticks = 0;
        for (; manager.Core().CurrentMode() != mode && ticks < 2000; ++ticks)
            Tick(manager);
        return ticks;
    }
};

using Mode = CManagerCore::Mode;

TEST_F(FeePeriodTest, ThePlugInIsGivenTheDevelopersWorkAndTheUsersAgain) {
    CMiningManager& manager = Start();
    TakeMessages();
    TickUntil(manager, Mode::Fee);
    manager.UserSession().Session().SetPoolIndex(1);  // it fails over meanwhile
    TickUntil(manager, Mode::User);
    const std::vector<RecordedMessage> messages = TakeMessages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].message, 0x2408u);
    EXPECT_EQ(messages[0].wParam, reinterpret_cast<WPARAM>(&manager.Core().Fee().WorkBlock()));
    EXPECT_EQ(messages[1].message, 0x2408u);
    EXPECT_EQ(messages[1].wParam, reinterpret_cast<WPARAM>(&manager.Core().User().WorkBlock()));
    m_mining.Stop();
    // The second line of its kind is the switch back to the primary pool, posted to the manager's window.
    const std::string log = LogText(), line = "*** Miner connect to Pool - ";
    const std::size_t first = log.find(line);
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(log.find(line, first + 1), std::string::npos) << log;
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
    EXPECT_STREQ(manager.Core().Fee().CurrentPool()->Name, L"DevFee");
    released->set_value();
    for (int i = 0; i < 1000 && *done < 10; ++i)
        Sleep(5);
    ASSERT_EQ(*done, 10) << "five pings for each pool";
    TickUntil(manager, Mode::User);
    for (int i = 0; i < 1000 && !manager.FeeSession().IsRunning(); ++i)
        Tick(manager);
    EXPECT_STREQ(manager.Core().Fee().CurrentPool()->Name, L"DevFee 2");
}

TEST(FeePoolsTest, EveryAlgorithmHasItsPoolsAndNoIdIsGivenTwice) {
    struct Case {
        std::int32_t algorithm;
        std::wstring coin;
        std::vector<std::uint32_t> ports;
        std::size_t walletLength;
    };
    const std::vector<std::uint32_t> bitcoinInterest(3, 3910), ubiq(3, 10008), ethash{4444, 14444};
    const Case cases[] = {
        {1, L"etc-", ethash, 42}, {2, L"etc-", ethash, 42},          {3, L"eth-", ethash, 42},
        {4, L"eth-", ethash, 42}, {7, L"bci-", bitcoinInterest, 34}, {8, L"bci-", bitcoinInterest, 34},
        {11, L"ubq-", ubiq, 42},  {12, L"ubq-", ubiq, 42},           {-1, L"etc-", ethash, 42},
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
            EXPECT_TRUE(server.starts_with(value.coin));
            EXPECT_TRUE(server.ends_with(L".example")) << "as shipped, nobody is paid";
            EXPECT_EQ(std::wstring(pool->WalletUser).size(), value.walletLength);
        }
        EXPECT_EQ(ports, value.ports);
    }
}

}  // namespace
