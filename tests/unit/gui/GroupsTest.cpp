#include "Rig.h"
#include "gui/GpuGrid.h"
#include "gui/GpuGroup.h"
#include "gui/NotifyText.h"
#include "gui/PoolGroup.h"
#include "gui/UnitText.h"

namespace {

constexpr ddt_datetime kNow{10 * kTicksPerDay};

std::wstring TestTime(ddt_datetime utc) {
    return utc.IsSet() ? L"T" + std::to_wstring(utc.ticks / kTicksPerDay) : L"";
}

class CGroups : public testing::Test {
  protected:
    GpuGridSource Source() const { return {rig.gpus, *m_current, rig.unassignedPool, rig.algorithms, kNow}; }
    void Publish(MinerConfiguration configuration) {
        rig.published->Publish(std::move(configuration));
        m_current = rig.Current();
    }
    void SetCounters(std::size_t gpu, std::uint64_t accepted, std::uint64_t rejected, std::uint64_t stale,
                     std::uint64_t speed, std::int64_t lastTime) {
        CMiningStatistics& statistics = rig.records[gpu].statistics;
        statistics.accepted = accepted;
        statistics.rejected = rejected;
        statistics.stale = stale;
        statistics.hashSpeed = speed;
        statistics.lastTime = lastTime;
    }
    std::vector<std::wstring> Row(std::size_t row) const {
        std::vector<std::wstring> texts;
        for (std::size_t column = 0; column < kGpuColumns.size(); ++column)
            texts.push_back(GpuCell(Source(), row, column).text);
        return texts;
    }

    CGuiRig rig;

  private:
    ConfigurationPointer m_current = rig.Current();
};

struct CMiningFake final : IMiningView {
    bool IsRunning() const override { return session.has_value(); }
    std::optional<MiningSessionView> SessionOf(const QvGpuRecord&) const override { return session; }
    std::vector<GpuTrouble> TroubledGpus() const override { return {}; }
    MiningHealth Health() const override { return MiningHealth::Good; }
    std::optional<MiningSessionView> session;
};

TEST_F(CGroups, FormatTheGridsCells) {
    rig.records[0].ccMajor = 8;
    rig.records[0].ccMinor = 6;
    SetCounters(0, 12, 3, 1, 1'025'000, kNow.ticks - kTicksPerDay - kTicksPerSecond);
    SetCounters(2, 0, 0, 0, 0, 0);
    using Texts = std::vector<std::wstring>;
    EXPECT_EQ(Row(0), (Texts{L"0", L"Card", L"8.6", L"One", L"1.025 MH/s", L"A:12 - S:1 R:3", L"1 00:00:01", L"1", L"", L"",
                             L"", L"", L"hashing"}));
    EXPECT_EQ(Row(2), (Texts{L"2", L"Card", L"0.0", L"Seven", L"", L"A:0 - S:0 R:0", L"", L"0", L"", L"", L"", L"", L""}));
    EXPECT_EQ(Row(3), Texts(13)) << "no such row";
    EXPECT_EQ(GpuCell(Source(), 0, 7).mark, CellMark::Problem);
    EXPECT_EQ(GpuCell(Source(), 2, 7).mark, CellMark::None);
    EXPECT_EQ(GpuCell(Source(), 0, 13).text, L"");
    rig.records[2].statistics.hashSpeed = 7;
    EXPECT_EQ(GpuCell(Source(), 2, 4).text, L"7.000 Sol/s") << "the unit of the pool's own algorithm";
}

TEST_F(CGroups, NameAlgorithmsAndMarkThoseWithoutAPlugIn) {
    EXPECT_EQ(AlgorithmText(3, rig.algorithms), L"Etchash (3)");
    EXPECT_EQ(AlgorithmText(12, rig.algorithms), L"ubqhash-cpu (12) - no plug-in");
    EXPECT_EQ(AlgorithmText(-7, rig.algorithms), L"-7 - no plug-in");
    MinerConfiguration configuration = *rig.Current();
    configuration.configurations[1].primaryPool = configuration.pools[3];
    Publish(configuration);
    EXPECT_EQ(Row(2)[3], L"Eight - no plug-in");
}

TEST_F(CGroups, ShowNoMiningOfAGpuWithoutAPool) {
    Publish({});
    SetCounters(0, 12, 3, 1, 1'025'000, 1);
    const std::vector<std::wstring> row = Row(0);
    EXPECT_EQ(row[3], L"Unassigned - not used");
    EXPECT_EQ(std::vector(row.begin() + 4, row.end()), std::vector<std::wstring>(9));
    EXPECT_EQ(GpuCell(Source(), 0, 7).mark, CellMark::None);
}

TEST_F(CGroups, ShowWhatTheSensorsSayAndWhyACardDoesNotHash) {
    GpuGridSource source = Source();
    EXPECT_EQ(GpuSumText(source), L"3 cards");
    const struct {
        std::uint32_t state, degrees, watts;
        std::uint64_t speed;
        std::vector<std::wstring> texts;
        CellMark mark;
    } kCases[] = {
        {0, 64, 231, 5, {L"", L"", L"", L""}, CellMark::None},
        {7, 64, 231, 5, {L"", L"", L"", L""}, CellMark::None},
        {1, 74, 231, 5, {L"74 \u00B0C", L"40 %", L"", L""}, CellMark::None},
        {2, 75, 0, 5, {L"75 \u00B0C", L"40 %", L"", L""}, CellMark::Warning},
        {2, 84, 231, 0, {L"84 \u00B0C", L"40 %", L"231 W", L""}, CellMark::Warning},
        {2, 85, 1239, 104'100'000, {L"85 \u00B0C", L"40 %", L"1.24 kW", L"84.0 kH/W"}, CellMark::Problem},
    };
    QvGpuRecord& gpu = rig.records[0];
    gpu.fanSpeed = 40;
    for (const auto& test : kCases) {
        gpu.telemetryState = test.state, gpu.temperature = test.degrees, gpu.powerUsage = test.watts;
        gpu.statistics.hashSpeed = test.speed;
        const std::vector<std::wstring> row = Row(0);
        EXPECT_EQ(std::vector(row.begin() + 8, row.begin() + 12), test.texts);
        EXPECT_EQ(GpuCell(source, 0, 8).mark, test.mark);
    }
    EXPECT_EQ(GpuSumText(source), L"3 cards, 1.24 kW, 84.0 kH/W, hottest 85 \u00B0C");
    rig.records[2].telemetryState = 2, rig.records[2].powerUsage = 1, rig.records[2].statistics.hashSpeed = 7;
    EXPECT_EQ(GpuSumText(source), L"3 cards, 1.24 kW, hottest 85 \u00B0C") << "hashes and solutions make no sum";

    const GpuTrouble troubles[] = {{gpu.cudaId, L"The driver cannot run the kernels"}};
    source.troubledGpus = troubles;
    EXPECT_EQ(GpuCell(source, 0, 12).text, troubles[0].reason);
    for (std::size_t column = 0; column < kGpuColumns.size(); ++column)
        EXPECT_EQ(GpuCell(source, 0, column).mark, CellMark::Problem);
    EXPECT_EQ(GpuCell(source, 0, 0).tip, troubles[0].reason);
}

TEST_F(CGroups, ShowNamesInFullLengthAndOtherLetters) {
    for (char& c : rig.records[0].name)
        c = '\xE9';
    EXPECT_EQ(GpuCell(Source(), 0, 1).text, NarrowToWide(std::string(QV_GPU_NAME_BYTES, '\xE9')));
    PoolEntry pool = *rig.Current()->pools[0];
    const std::wstring name(std::size(pool.Name) - 1, L'\u0416');
    CopyToField(name, pool.Name);
    CConfigurationBuilder builder = rig.Builder();
    const PoolPointer added = builder.AddPool(pool);
    builder.AddConfiguration({added, rig.unassignedPool, 0, 0, {rig.gpus[0]}});
    Publish(builder.configuration);
    EXPECT_EQ(GpuCell(Source(), 0, 3).text, name);
}

TEST_F(CGroups, FindThePoolOfTheFirstConfigurationInTheList) {
    MinerConfiguration configuration = *rig.Current();
    configuration.configurations[1].gpus.push_back(rig.gpus[0]);
    EXPECT_EQ(FindGpuPool(configuration, rig.records[0], rig.unassignedPool)->ID, 1u);
    std::erase_if(configuration.pools, [](const PoolPointer& pool) { return pool->ID == 1; });
    EXPECT_EQ(FindGpuPool(configuration, rig.records[0], rig.unassignedPool), rig.unassignedPool) << "no longer listed";
    // A file may list a pool without an ID: it is nobody's.
    configuration.pools.push_back(std::make_shared<PoolEntry>());
    configuration.configurations[1].primaryPool = rig.unassignedPool;
    EXPECT_EQ(FindGpuPool(configuration, rig.records[2], rig.unassignedPool), rig.unassignedPool);
}

TEST_F(CGroups, SumThePoolGroupOverTheConfiguration) {
    SetCounters(0, 10, 1, 2, 1000, kNow.ticks - 30 * kTicksPerSecond);
    SetCounters(1, 20, 3, 4, 500, kNow.ticks - 90 * kTicksPerSecond);
    SetCounters(2, 99, 99, 99, 99, kNow.ticks);
    rig.Current()->pools[0]->lastError.Set({23, kNow, -1, "Low difficulty share"});
    CMiningFake mining;
    mining.session = {PoolRole::Backup, {{3 * kTicksPerDay}, 4, "0xab"}, 4e9, L"mining at 1.2.3.4:5", {}};
    const PoolGroup group = MakePoolGroup(Source(), rig.gpus[0], mining, TestTime);
    EXPECT_EQ(group.name, L"One");
    EXPECT_EQ(group.server, L"pool.example:4001");
    EXPECT_EQ(group.hashRate, L"1.500 kH/s");
    EXPECT_EQ(group.shares, L"A:30 - S:6 R:4");
    EXPECT_EQ(group.lastShare, L"00:00:30");
    EXPECT_EQ(group.job, L"T3 (GPU#4): 0xab");
    EXPECT_EQ(group.difficulty, L"4.000 GH/s");
    EXPECT_EQ(group.message, L"Low difficulty share");
    const auto messageWith = [&](std::int64_t later) {
        return MakePoolGroup(Source(), rig.gpus[0], mining, TestTime, {L"not saved", {kNow.ticks + later}}).message;
    };
    EXPECT_EQ(messageWith(1), L"not saved");
    EXPECT_EQ(messageWith(-1), L"Low difficulty share");
    rig.Current()->pools[0]->lastError.Set({23, {kNow.ticks - 125 * kTicksPerMinute}, -1, "Low"});
    EXPECT_EQ(messageWith(-126 * kTicksPerMinute), L"Low (2 h 5 min ago)");
    EXPECT_EQ(group.state, L"mining at 1.2.3.4:5");
    EXPECT_TRUE(group.hasSession);
    mining.session->message.text = L"GPU 0 is not hashing";
    EXPECT_EQ(messageWith(1), L"GPU 0 is not hashing");
    EXPECT_EQ(group.connection, (LabelLook{L"Connected", 0x00C000}));

    mining.session->job = {{3 * kTicksPerDay}, -1, "0xab"};
    EXPECT_EQ(MakePoolGroup(Source(), rig.gpus[0], mining, TestTime).job, L"T3: 0xab");
    mining.session->job = {};
    EXPECT_EQ(MakePoolGroup(Source(), rig.gpus[0], mining, TestTime).job, L"");
}

TEST_F(CGroups, NameEachRoleAndLeaveTheLabelAtOthers) {
    const struct {
        std::int32_t role;
        std::optional<LabelLook> look;
    } cases[] = {
        {0, LabelLook{L"Primary", 0x00C000}},
        {1, LabelLook{L"DEV", 0xFF9933}},
        {2, LabelLook{L"Backup", 0x00C000}},
        {3, LabelLook{L"DEV", 0xFF9933}},
        {4, std::nullopt},
        {-1, std::nullopt},
    };
    CMiningFake mining;
    for (const auto& c : cases) {
        mining.session = {static_cast<PoolRole>(c.role), {}, 0.0, {}, {}};
        EXPECT_EQ(MakePoolGroup(Source(), rig.gpus[0], mining, TestTime).role, c.look) << c.role;
    }
    mining.session.reset();
    const PoolGroup idle = MakePoolGroup(Source(), rig.gpus[0], mining, TestTime);
    EXPECT_FALSE(idle.hasSession);
    EXPECT_EQ(idle.role, std::nullopt);
    EXPECT_EQ(idle.connection, (LabelLook{L"Not connected", 0x0000C0}));
}

TEST_F(CGroups, LeaveThePoolGroupEmptyWithoutAPool) {
    const CMiningFake mining;
    const PoolGroup none = MakePoolGroup(Source(), nullptr, mining, TestTime);
    EXPECT_EQ(none.name + none.server + none.hashRate + none.shares + none.lastShare + none.message, L"");
    EXPECT_EQ(MakePoolGroup(Source(), nullptr, mining, TestTime, {L"not saved", kNow}).message, L"not saved");
    Publish({});
    const PoolGroup unassigned = MakePoolGroup(Source(), rig.gpus[0], mining, TestTime);
    EXPECT_EQ(unassigned.name, L"Unassigned - not used");
    EXPECT_EQ(unassigned.server + unassigned.hashRate + unassigned.shares + unassigned.lastShare, L"");
}

TEST_F(CGroups, ShowTheSelectedGpu) {
    QvGpuRecord& gpu = rig.records[1];
    gpu.ccMajor = 7;
    gpu.ccMinor = 5;
    gpu.memoryTotal = std::uint64_t{8} << 30;
    gpu.memoryUsed = std::uint64_t{3} << 30;
    gpu.temperature = 61;
    gpu.fanSpeed = 55;
    gpu.coreClock = 1710;
    gpu.memoryClock = 9501;
    SetCounters(1, 1, 2, 3, 5000, 0);
    EXPECT_EQ(MakeGpuStaticGroup(&gpu).type, L"Card - (8.0 GB)");
    EXPECT_EQ(MakeGpuStaticGroup(&gpu).cudaComp, L"V 7.5");
    EXPECT_EQ(MakeGpuLiveGroup(&gpu, L"H/s").temperature, L"") << "its sensors were never read";

    gpu.telemetryState = 2;
    GpuLiveGroup live = MakeGpuLiveGroup(&gpu, L"H/s");
    EXPECT_EQ(live.temperature, L"61 \u00B0C");
    EXPECT_EQ(live.fan, L"55 %");
    EXPECT_EQ(live.coreClock, L"1710 MHz");
    EXPECT_EQ(live.memoryClock, L"9501 MHz");
    EXPECT_EQ(live.availableMemory, L"5.0 GB");
    EXPECT_EQ(live.hashRate, L"5.000 kH/s");
    EXPECT_EQ(live.shares, L"A:1 - S:3 R:2");
    gpu.memoryUsed = gpu.memoryTotal + 1;
    EXPECT_EQ(MakeGpuLiveGroup(&gpu, L"H/s").availableMemory, L"0.0 B");

    live = MakeGpuLiveGroup(nullptr, L"H/s");
    EXPECT_EQ(MakeGpuStaticGroup(nullptr).type + live.temperature + live.hashRate + live.shares + live.availableMemory, L"");
}

TEST_F(CGroups, SumUpForTheNotificationIcon) {
    SetCounters(0, 10, 1, 2, 300'000'000, 0);
    SetCounters(1, 20, 3, 4, 212'000'000, 0);
    SetCounters(2, 0, 0, 0, 7, 0);
    EXPECT_EQ(MiningSummary(*rig.Current(), rig.algorithms), L"512.000 MH/s + 7.000 Sol/s \u00B7 30/6/4");
    for (QvGpuRecord& gpu : rig.records)
        gpu.telemetryState = 2, gpu.temperature = 61, gpu.powerUsage = 300;
    rig.records[1].temperature = 71;
    rig.records[2].telemetryState = 1;
    EXPECT_TRUE(MiningSummary(*rig.Current(), rig.algorithms).ends_with(L"30/6/4 \u00B7 71 \u00B0C \u00B7 600 W"));
    rig.records[0].powerUsage = 944;
    EXPECT_TRUE(MiningSummary(*rig.Current(), rig.algorithms).ends_with(L"1.24 kW"));
}

TEST(CNotices, DisturbOnceInTenMinutes) {
    CNotices notices;
    using Ids = std::vector<std::int32_t>;
    const auto look = [&](const Ids& ids, std::int64_t minute) {
        std::vector<GpuTrouble> troubled;
        for (const std::int32_t id : ids)
            troubled.push_back({id, L""});
        return notices.Look(troubled, minute * kTicksPerMinute).value_or(L"");
    };
    EXPECT_EQ(look({}, 1), L"");
    EXPECT_EQ(look({3, 1}, 1), L"Not mining: GPU 3, GPU 1");
    EXPECT_EQ(look({3, 1, 2}, 2), L"") << "too soon";
    EXPECT_EQ(look({3, 1, 2}, 11), L"Not mining: GPU 2");
    EXPECT_EQ(look({3, 1, 2}, 60), L"") << "told";
    EXPECT_EQ(look({1}, 61), L"");
    EXPECT_EQ(look({1, 3}, 62), L"Not mining: GPU 3") << "again";
    notices.MiningStopped();
    EXPECT_EQ(look({}, 63), L"");
    EXPECT_EQ(look({}, 72), L"Mining has stopped by itself.");
    EXPECT_EQ(look({}, 90), L"");
}

}  // namespace
