// What a manager decides, with connections that connect nowhere and a clock set by hand.
#include <gtest/gtest.h>
#include <algorithm>
#include <random>
#include "../pool/SessionRecorder.h"
#include "common/CodePage.h"
#include "mining/ManagerCore.h"

namespace {

class CFakeConnection final : public IPoolConnection, public IStratumOutput {
  public:
    CFakeConnection(StratumKind kind, IStratumHost& host, const IClock& clock) : m_session(kind, host, *this, clock, this) {}
    CStratumSession& Session() override { return m_session; }
    void Connect() override {
        if (running) return;
        running = true;
        m_session.Reset();
    }
    void CloseConnection() override {
        if (std::exchange(running, false)) m_session.Closed();
    }
    bool IsRunning() const override { return running; }
    std::uint32_t SendRequest(std::string_view text) override {
        sent = text;
        return 0;
    }
    std::uint32_t SendText(std::string_view) override { return 0; }
    void DropConnection(const std::string&, std::uint32_t) override {}
    void PostWork(unsigned) override {}
    void PostPoolSwitch() override {}
    void LogText(const std::string&) override {}

    // The pool takes the login and gives a job.
    void GiveWork() {
        m_session.Connected();
        for (std::string line : {R"({"id":1,"result":true})", R"({"id":2,"result":true})",
                                 R"({"method":"mining.notify","params":["j","h","s","b",true]})"})
            m_session.LineReceived({line.data(), line.size()});
    }
    std::wstring Pool() { return m_session.CurrentPool()->Name; }

    bool running = false;
    std::string sent;

  private:
    CStratumSession m_session;
};

using Mode = CManagerCore::Mode;
using Role = PoolRole;

class ManagerCore : public testing::Test, protected IManagerShell, protected IEventSink {
  protected:
    static PoolPointer Pool(const wchar_t* name, std::int32_t algorithm) {
        auto pool = std::make_shared<PoolEntry>(MakePool(1, L"pool.example", algorithm));
        CopyToField(name, pool->Name);
        return pool;
    }
    void Start(std::int32_t algorithm = 7, bool withBackup = true) {
        for (CFakeConnection* const connection : {&user, &fee})
            connection->Session().Pause();  // as made
        ConfigurationEntry entry;
        entry.primaryPool = Pool(L"Main", algorithm);
        entry.secondaryPool = withBackup ? Pool(L"Backup", algorithm) : std::make_shared<PoolEntry>();
        entry.gpus = {&gpu};
        core = std::make_unique<CManagerCore>(CManagerCore::Parts{user, fee, *this, host, *this, troubles, messages, clock},
                                              entry);
        core->Begin();
        core->Start({Pool(L"DevFee", algorithm), Pool(L"DevFee 2", algorithm)});
    }
    void Tick(TimeSpan span = 30 * kTicksPerSecond) {
        clock.now.ticks += span;
        core->OnAccountingTimer();
        for (IPoolConnection* const connection : std::exchange(posted, {}))
            core->SwitchPool(*connection);
    }
    int TickUntil(Mode mode) {
        int ticks = 0;
        for (; core->CurrentMode() != mode && ticks < 2000; ++ticks)
            Tick();
        return ticks;
    }
    // Seconds of the watch's timer; true: one of its events holds the text.
    bool Watch(TimeSpan span, const std::wstring& awaited) {
        events.clear();
        for (const TimeSpan end = clock.now.ticks + span; clock.now.ticks < end;) {
            clock.now.ticks += kTicksPerSecond;
            core->OnWatchTimer();
        }
        return Has(events, awaited);
    }
    static bool Has(const std::vector<std::wstring>& lines, const std::wstring& part) {
        return std::any_of(lines.begin(), lines.end(), [&](auto& line) { return line.find(part) != line.npos; });
    }

    void LogLine(const std::wstring& text) override { lines.push_back(text); }
    void LogMain(const std::wstring& text) override { mainLines.push_back(text); }
    void PostPoolSwitch(IPoolConnection& connection) override { posted.push_back(&connection); }
    std::unique_ptr<IPoolConnection> MakeProbe(const PoolPointer& pool) override {
        auto made = std::make_unique<CFakeConnection>(StratumKind::Probe, host, clock);
        made->Session().SetPools({pool});
        probe = made.get();
        ++probes;
        return made;
    }
    void OrderFeePools(const std::vector<PoolPointer>& pools) override { asked = pools; }
    std::optional<std::vector<PoolPointer>> TakeFeePoolOrder() override { return std::exchange(ordered, std::nullopt); }
    void Event(EventKind kind, std::wstring_view subject, std::wstring_view text) override {
        events.push_back(EventText(kind, subject, text));
    }

    CHandClock clock;
    CQuietHost host;
    CTroubleBoard troubles;
    CPlugInMessages messages;
    QvGpuRecord gpu{};
    CFakeConnection user{StratumKind::User, host, clock};
    CFakeConnection fee{StratumKind::Fee, host, clock};
    CFakeConnection* probe = nullptr;
    int probes = 0;
    std::vector<PoolPointer> asked;
    std::optional<std::vector<PoolPointer>> ordered;
    std::vector<IPoolConnection*> posted;
    std::vector<std::wstring> lines, mainLines, events;
    std::unique_ptr<CManagerCore> core;
};

TEST_F(ManagerCore, TheDeveloperGetsWhatIsOwedAndTheUserHisPrimaryPoolBack) {
    const struct {
        std::int32_t algorithm;
        int connectedAfter, ticksBefore, ticksOfFee;
    } cases[] = {{7, 201, 297, 3}, {5, 501, 597, 6}};
    for (const auto& c : cases) {
        Start(c.algorithm);
        for (int i = 1; i < c.connectedAfter; ++i)
            Tick();
        EXPECT_FALSE(fee.running) << "connected too early";
        ordered = {asked.rbegin(), asked.rend()};
        Tick();
        EXPECT_TRUE(fee.running && fee.Session().IsPaused());
        EXPECT_EQ(fee.Pool(), L"DevFee 2") << "the order is used";
        EXPECT_EQ(TickUntil(Mode::Fee), c.ticksBefore - c.connectedAfter);
        EXPECT_EQ(core->CurrentRole(), Role::Fee);
        EXPECT_TRUE(user.running && user.Session().IsPaused() && !fee.Session().IsPaused());
        user.Session().SetPoolIndex(1);  // it fails over meanwhile
        fee.running = false;
        Tick();
        EXPECT_TRUE(fee.running) << "taken up again";
        EXPECT_EQ(TickUntil(Mode::User), c.ticksOfFee - 1);
        EXPECT_EQ(core->CurrentRole(), Role::Primary);
        EXPECT_EQ(lines.back(), L"*** Miner connect to Main - pool.example:4444") << "no switch to the primary pool";
        EXPECT_TRUE(user.running && !user.Session().IsPaused() && !fee.running && fee.Session().IsPaused());
        core->SwitchPool(fee);  // asked for before its period ended
        EXPECT_FALSE(fee.running);
        EXPECT_EQ(TickUntil(Mode::Fee), c.ticksBefore) << "the next period";
        core->Stop();
    }
    for (const wchar_t* const line : {L"Developer fee: begins, 00:01:29 owed for 02:28:30 mined",
                                      L"Developer fee: ends, 00:01:30 mined of 00:01:29 owed"})
        EXPECT_TRUE(Has(lines, line)) << line;
    EXPECT_EQ(mainLines[0], L"Mined 04:57:00 for Main and 00:01:30 for the developer (shares A:0 R:0)");
}

TEST_F(ManagerCore, TheUserMinesAQuarterOfAnHourBeforeTheNextPeriod) {
    Start();
    Tick(30 * kTicksPerDay);  // a timer that came late by a month
    EXPECT_EQ(core->CurrentMode(), Mode::Fee);
    EXPECT_EQ(TickUntil(Mode::User), 8) << "240 s at most";
    Tick(2 * 3600 * kTicksPerSecond);
    EXPECT_EQ(core->CurrentMode(), Mode::User) << "what was owed before is paid";
}

// A month in which the user's connection fails over now and then, mining is stopped and started four times, no fee pool
// answers, and the timer is late by up to 50 ms.
TEST_F(ManagerCore, OverAMonthTheDeveloperGetsOnePerCent) {
    std::mt19937 random(1);
    TimeSpan userTime = 0, feeTime = 0;
    int periods = 0;
    const ddt_datetime end = {clock.now.ticks + 30 * kTicksPerDay};
    while (clock.now < end) {
        Start();
        const TimeSpan stop = clock.now.ticks + 6 * kTicksPerDay + static_cast<TimeSpan>(random() % 7200) * kTicksPerSecond;
        while (clock.now.ticks < stop && clock.now < end) {
            const Mode before = core->CurrentMode();
            if (random() % 500 == 0) user.Session().SetPoolIndex(1);
            Tick(30 * kTicksPerSecond + static_cast<TimeSpan>(random() % 50) * kTicksPerMillisecond);
            if (before == Mode::User && core->CurrentMode() == Mode::Fee) ++periods;
            const double owed = 0.01 * static_cast<double>(userTime + core->UserTime());
            ASSERT_LE(static_cast<double>(feeTime + core->FeeTime()), owed + 30.0 * kTicksPerSecond * periods);
        }
        userTime += core->UserTime();
        feeTime += core->FeeTime();
        core->Stop();
    }
    const double percent = 100.0 * static_cast<double>(feeTime) / static_cast<double>(userTime);
    std::printf("30 days: %d fee periods, %.4f %% of the user's mining time\n", periods, percent);
    EXPECT_NEAR(percent, 1.0, 0.02);
}

TEST_F(ManagerCore, OnTheBackupPoolThePrimaryIsTriedAndTakenWhenItGivesWork) {
    Start();
    user.Session().SetPoolIndex(1);
    core->SwitchPool(user);
    EXPECT_TRUE(Has(events, L"Backup\tthis pool's turn now"));
    user.GiveWork();
    EXPECT_FALSE(Watch(599 * kTicksPerSecond, L"back to the primary pool"));
    EXPECT_EQ(probes, 0);
    Watch(130 * kTicksPerSecond, L"");
    EXPECT_EQ(probes, 1);
    EXPECT_TRUE(Has(lines, L"The primary pool gives no work yet"));
    EXPECT_EQ(core->CurrentRole(), Role::Backup);
    Watch(480 * kTicksPerSecond, L"");
    ASSERT_EQ(probes, 2);
    probe->GiveWork();
    EXPECT_TRUE(Watch(kTicksPerSecond, L"Main\tgives work again: back to the primary pool"));
    EXPECT_EQ(user.Pool(), L"Main");
    EXPECT_TRUE(user.running);
    EXPECT_EQ(lines.back(), L"*** Miner connect to Main - pool.example:4444");
}

TEST_F(ManagerCore, AConnectionThatEndedIsTakenUpAndWithoutABackupThereIsOnePool) {
    Start(7, false);
    user.Session().SetPoolIndex(1);
    EXPECT_EQ(user.Session().CurrentPool(), nullptr) << "there is a second pool";
    user.running = false;
    Tick();
    EXPECT_TRUE(user.running);
    gpu.statistics.hashSpeed = 1;
    core->OnSubmitTimer();
    EXPECT_EQ(user.sent, "") << "nobody is logged in";
    user.Session().SetPoolIndex(0);
    user.Session().Reset();
    user.GiveWork();
    core->OnSubmitTimer();
    EXPECT_TRUE(user.sent.starts_with(R"({"id":5,"jsonrpc":"2.0","method":"eth_submitHashrate")")) << user.sent;
}

TEST_F(ManagerCore, OneThatFailedIsTroubleAtOnceAndConnectsNothing) {
    Start();
    core->Stop();
    core->Fail(L"the line", L"The plug-in is missing");
    EXPECT_EQ(troubles.Lasting().size(), 1u);
    EXPECT_EQ(SessionStateText(core->State()), L"not running: The plug-in is missing");
    core->OnAccountingTimer();
    core->SwitchPool(user);
    EXPECT_FALSE(user.running);
    mainLines.clear();
    core->Stop();
    EXPECT_TRUE(mainLines.empty()) << "totals of what never mined";
    EXPECT_TRUE(troubles.Lasting().empty());
}

}  // namespace
