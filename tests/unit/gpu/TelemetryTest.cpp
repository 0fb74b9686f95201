#include <gtest/gtest.h>

#include "FakeDrivers.h"
#include "gpu/GpuTelemetry.h"

namespace {

using Calls = std::vector<std::string>;

class CTelemetryTest : public testing::Test {
  protected:
    CTelemetryTest() {
        m_nvml.cards = {NvmlCard("card", 1)};
        m_gpu->nvmlDevice = &Card();
    }
    FakeNvmlCard& Card() { return m_nvml.cards.front(); }
    void Update() { UpdateTelemetry(*m_gpu, m_nvml); }

    CFakeNvml m_nvml;
    std::unique_ptr<QvGpuRecord> m_gpu = std::make_unique<QvGpuRecord>();
};

TEST_F(CTelemetryTest, ReadsEverySensorInOrder) {
    Update();
    EXPECT_EQ(m_nvml.calls, (Calls{"temperature", "utilization", "core clock", "memory clock", "fan", "memory", "power"}));
    EXPECT_EQ(m_gpu->temperature, 61u);
    EXPECT_EQ(m_gpu->fanSpeed, 55u);
    EXPECT_EQ(m_gpu->memoryUsed, 3'589'934'592u);
    EXPECT_EQ(m_gpu->coreClock, 1710u);
    EXPECT_EQ(m_gpu->memoryClock, 9501u);
    EXPECT_EQ(m_gpu->powerUsage, 1u) << "1999 mW, whole watts only";
    EXPECT_EQ(m_gpu->gpuUtilization, 99u);
    EXPECT_EQ(m_gpu->telemetryState, 2u);
}

// Each sensor fails in turn: its field keeps the first reading, all others follow the second one.
TEST_F(CTelemetryTest, FailingSensorKeepsItsValueAlone) {
    using Field = std::uint64_t (*)(const QvGpuRecord&);
    struct Row {
        const char* sensor;
        void (*fail)(FakeNvmlCard&);
        Field field;
        std::uint64_t first;
        std::uint64_t second;
        std::uint32_t state = 2;
    };
    const std::vector<Row> rows = {
        {"temperature", [](FakeNvmlCard& c) { c.temperature.reset(); },
         [](auto& g) -> std::uint64_t { return g.temperature; }, 61, 62},
        {"utilization", [](FakeNvmlCard& c) { c.utilization.reset(); },
         [](auto& g) -> std::uint64_t { return g.gpuUtilization; }, 99, 98},
        {"core clock", [](FakeNvmlCard& c) { c.coreClock.reset(); }, [](auto& g) -> std::uint64_t { return g.coreClock; },
         1710, 1500},
        {"memory clock", [](FakeNvmlCard& c) { c.memoryClock.reset(); },
         [](auto& g) -> std::uint64_t { return g.memoryClock; }, 9501, 9000},
        {"fan", [](FakeNvmlCard& c) { c.fanSpeed.reset(); }, [](auto& g) -> std::uint64_t { return g.fanSpeed; }, 55, 0},
        {"memory", [](FakeNvmlCard& c) { c.memory.reset(); }, [](auto& g) -> std::uint64_t { return g.memoryUsed; },
         3'589'934'592, 7},
        {"power", [](FakeNvmlCard& c) { c.powerUsage.reset(); }, [](auto& g) -> std::uint64_t { return g.powerUsage; }, 1,
         300, 1},
    };
    for (const Row& failing : rows) {
        SCOPED_TRACE(failing.sensor);
        Card() = NvmlCard("card", 1);
        Update();
        Card().temperature = 62;
        Card().utilization->gpu = 98;
        Card().coreClock = 1500;
        Card().memoryClock = 9000;
        Card().fanSpeed = 0;
        Card().memory->used = 7;
        Card().powerUsage = 300'000;
        failing.fail(Card());
        Update();
        for (const Row& row : rows) {
            EXPECT_EQ(row.field(*m_gpu), &row == &failing ? row.first : row.second) << row.sensor;
        }
        EXPECT_EQ(m_gpu->telemetryState, failing.state);
    }
}

TEST_F(CTelemetryTest, ExcludedGpuIsLeftAlone) {
    m_gpu->telemetryState = 7;
    Update();
    EXPECT_EQ(m_nvml.calls, Calls());
    EXPECT_EQ(m_gpu->temperature, 0u);
    EXPECT_EQ(m_gpu->telemetryState, 7u);
}

}  // namespace
