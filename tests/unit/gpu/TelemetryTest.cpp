#include <gtest/gtest.h>

#include <array>

#include "FakeDrivers.h"
#include "gpu/GpuTelemetry.h"

namespace {

using Readings = std::array<std::uint64_t, 7>;
using Calls = std::vector<std::string>;
const Calls kSensors = {"temperature", "utilization", "core clock", "memory clock", "fan", "memory", "power"};

Readings ReadingsOf(const QvGpuRecord& gpu) {
    return {gpu.temperature, gpu.gpuUtilization, gpu.coreClock, gpu.memoryClock,
            gpu.fanSpeed,    gpu.memoryUsed,     gpu.powerUsage};
}

// Each sensor fails in turn: its field keeps the first reading, all others follow the second one.
TEST(Telemetry, FailingSensorKeepsItsValueAlone) {
    constexpr Readings first = {61, 99, 1710, 9501, 55, 3'589'934'592, 1};  // 1999 mW: whole watts only
    constexpr Readings second = {62, 98, 1500, 9000, 0, 7, 300};
    constexpr void (*fail[])(FakeNvmlCard&) = {
        [](FakeNvmlCard& card) { card.temperature.reset(); }, [](FakeNvmlCard& card) { card.utilization.reset(); },
        [](FakeNvmlCard& card) { card.coreClock.reset(); },   [](FakeNvmlCard& card) { card.memoryClock.reset(); },
        [](FakeNvmlCard& card) { card.fanSpeed.reset(); },    [](FakeNvmlCard& card) { card.memory.reset(); },
        [](FakeNvmlCard& card) { card.powerUsage.reset(); },
    };
    for (std::size_t i = 0; i < first.size(); ++i) {
        SCOPED_TRACE(kSensors[i]);
        CFakeNvml nvml;
        FakeNvmlCard card;
        QvGpuRecord gpu = {};
        gpu.nvmlDevice = &card;
        UpdateTelemetry(gpu, nvml);
        EXPECT_EQ(nvml.calls, kSensors);
        EXPECT_EQ(ReadingsOf(gpu), first);
        EXPECT_EQ(gpu.telemetryState, 2u);

        card.temperature = 62;
        card.utilization->gpu = 98;
        card.coreClock = 1500;
        card.memoryClock = 9000;
        card.fanSpeed = 0;
        card.memory->used = 7;
        card.powerUsage = 300'000;
        fail[i](card);
        UpdateTelemetry(gpu, nvml);
        Readings expected = second;
        expected[i] = first[i];
        EXPECT_EQ(ReadingsOf(gpu), expected);
        EXPECT_EQ(gpu.telemetryState, kSensors[i] == "power" ? 1u : 2u);
    }
}

TEST(Telemetry, ExcludedGpuIsLeftAlone) {
    CFakeNvml nvml;
    FakeNvmlCard card;
    QvGpuRecord gpu = {};
    gpu.nvmlDevice = &card;
    gpu.telemetryState = 7;
    UpdateTelemetry(gpu, nvml);
    EXPECT_EQ(nvml.calls, Calls());
    EXPECT_EQ(ReadingsOf(gpu), Readings());
    EXPECT_EQ(gpu.telemetryState, 7u);
}

}  // namespace
