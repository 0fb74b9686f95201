#include "serve/Metrics.h"

#include <gtest/gtest.h>

#include "rig/ReportParser.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kId = "00112233445566778899aabbccddeeff";

RigView MiningRig() {
    RigView rig;
    rig.address = {"10.0.0.5", 8010};
    rig.link = LinkState::Up;
    rig.system = std::get<SystemReport>(*ParseReport(
        std::string(
            R"({"cmd":"system","params":{"hostname":"a\"b\\c","ver":"1.2.3.4","status":"mining","GpuStatic":[{"ID":")") +
        kId + R"(","Model":"Card","CUDA-ID":3,"Memory":8589934592}]}})"));
    rig.update = std::get<UpdateReport>(*ParseReport(
        std::string(R"({"cmd":"update","params":{"status":"mining","GpuDynamic":[{"ID":")") + kId +
        R"(","Temp":61,"Fan":55,"CoreClk":1700,"HashSpeed":61234567,"SOK":12,"SS":1,"SR":2,"ST":133456789012345678}]}})"));
    rig.updateTime = Clock::now();
    return rig;
}

bool Has(const std::string& text, const std::string& line) {
    return text.find("\n" + line + "\n") != std::string::npos;
}

TEST(Metrics, SamplesOfARigThatMines) {
    RigView rig = MiningRig();
    rig.badLines = 4;
    const std::string text = MetricsText({&rig}, Clock::now());
    const std::string labels = std::string(R"({rig="10.0.0.5:8010",gpu=")") + kId + R"(",index="3")";
    EXPECT_TRUE(Has(text, R"(quorvel_rig_up{rig="10.0.0.5:8010"} 1)"));
    EXPECT_TRUE(Has(text, R"(quorvel_rig_info{rig="10.0.0.5:8010",hostname="a\"b\\c",version="1.2.3.4"} 1)"));
    EXPECT_TRUE(Has(text, R"(quorvel_rig_bad_lines_total{rig="10.0.0.5:8010"} 4)"));
    EXPECT_TRUE(Has(text, "quorvel_gpu_hashes_per_second" + labels + "} 61234567"));
    EXPECT_TRUE(Has(text, "quorvel_gpu_shares_total" + labels + ",result=\"rejected\"} 2"));
    EXPECT_TRUE(Has(text, "quorvel_gpu_fan_ratio" + labels + "} 0.55"));
    EXPECT_TRUE(Has(text, "quorvel_gpu_core_clock_hertz" + labels + "} 1700000000"));
    EXPECT_TRUE(Has(text, "quorvel_gpu_memory_total_bytes" + labels + "} 8589934592"));
    EXPECT_TRUE(Has(text, "quorvel_gpu_last_share_timestamp_seconds" + labels + "} 1701205301"));
    // Not reported, so not there.
    EXPECT_EQ(text.find("quorvel_gpu_power_watts{"), std::string::npos);
}

TEST(Metrics, OldFiguresAndRigsThatAreDownHaveNoGpuSamples) {
    RigView old = MiningRig();
    old.updateTime = Clock::now() - kFreshFor - std::chrono::seconds(1);
    const std::string oldText = MetricsText({&old}, Clock::now());
    EXPECT_EQ(oldText.find("quorvel_gpu_hashes_per_second{"), std::string::npos);
    EXPECT_NE(oldText.find("quorvel_gpu_info{"), std::string::npos);

    RigView down = MiningRig();
    down.link = LinkState::Down;
    const std::string text = MetricsText({&down}, Clock::now());
    EXPECT_TRUE(Has(text, R"(quorvel_rig_up{rig="10.0.0.5:8010"} 0)"));
    for (const char* name :
         {"quorvel_gpu_info{", "quorvel_gpu_hashes_per_second{", "quorvel_rig_mining{", "quorvel_rig_info{"})
        EXPECT_EQ(text.find(name), std::string::npos) << name;
}

TEST(Metrics, TroubleByKind) {
    RigView rig = MiningRig();
    for (const char* text : {"GPU 0 is not hashing", "GPU 1 is not hashing"})
        rig.troubles.Apply(ErrorReport{1, -1011, text});
    std::string text = MetricsText({&rig}, Clock::now());
    const std::string labels = R"(quorvel_rig_trouble{rig="10.0.0.5:8010",kind=)";
    EXPECT_TRUE(Has(text, labels + R"("gpu_not_hashing",code="-1011"} 2)")) << text;
    EXPECT_TRUE(Has(text, labels + R"("not_connected",code="-1001"} 0)"));
    rig.link = LinkState::Connecting;
    EXPECT_EQ(MetricsText({&rig}, Clock::now()).find("quorvel_rig_trouble{"), std::string::npos);
}

TEST(Sums, OnlyWhatIsSoNow) {
    RigView rig = MiningRig();
    EXPECT_EQ(SumsOf(rig, Clock::now()).hashRate, 61234567);
    rig.update->status = MiningStatus::Stopped;
    EXPECT_EQ(SumsOf(rig, Clock::now()).hashRate, std::nullopt);
    EXPECT_EQ(SumsOf(rig, Clock::now()).temperature, 61);
    rig.link = LinkState::Down;
    EXPECT_EQ(SumsOf(rig, Clock::now()).temperature, std::nullopt);
}

TEST(History, StepsHoldMeanAndPeakAndGapsStayGaps) {
    CHistory history;
    history.Add(100, 10, 50);
    history.Add(110, 20, 60);
    history.Add(119, std::nullopt, 55);
    history.Add(160, 40, std::nullopt);  // 120 to 159 had no sample
    history.Add(150, 60, 70);            // the clock was set back
    history.Add(180, 1, 1);
    const auto points = history.Points();
    ASSERT_EQ(points.size(), 4u);
    EXPECT_EQ(points[0].hashRate, 15);
    EXPECT_EQ(points[0].temperature, 60);
    EXPECT_EQ(points[1].hashRate, std::nullopt);
    EXPECT_EQ(points[2].temperature, std::nullopt);
    EXPECT_EQ(points[3].hashRate, 50);
    EXPECT_EQ(points[3].temperature, 70);
    EXPECT_EQ(history.EndSeconds(), 180);
}

TEST(History, TheOldestMakeRoom) {
    CHistory history;
    constexpr std::int64_t kSteps = CHistory::kCapacity + 10;
    for (std::int64_t i = 0; i <= kSteps; ++i)
        history.Add(i * CHistory::kStepSeconds, static_cast<double>(i), std::nullopt);
    auto points = history.Points();
    ASSERT_EQ(points.size(), CHistory::kCapacity);
    EXPECT_EQ(points.front().hashRate, 10);
    EXPECT_EQ(points.back().hashRate, kSteps - 1);
    // A leap of years costs no more than one round.
    history.Add(std::int64_t{1} << 40, 7, std::nullopt);
    points = history.Points();
    ASSERT_EQ(points.size(), CHistory::kCapacity);
    EXPECT_EQ(points.front().hashRate, std::nullopt);
}

}  // namespace
