// What the report of one second costs for a rig of 16 GPUs, next to the numbers of the same report through the C runtime.
#include <benchmark/benchmark.h>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <vector>
#include "control/StatusReports.h"

namespace {

constexpr std::size_t kGpus = 16;

struct CBenchRig {
    CBenchRig() {
        for (QvGpuRecord& gpu : records) {
            gpu.temperature = 61, gpu.fanSpeed = 55, gpu.coreClock = 1710, gpu.memoryClock = 9501, gpu.powerUsage = 285;
            gpu.memoryUsed = 4294967296, gpu.statistics.hashSpeed = 118'000'000, gpu.statistics.accepted = 12345;
            gpu.statistics.lastTime = 132000000000000000;
            gpus.push_back(&gpu);
        }
    }
    std::array<QvGpuRecord, kGpus> records = {};
    std::vector<QvGpuRecord*> gpus;
};

void UpdateReportOf16Gpus(benchmark::State& state) {
    const CBenchRig rig;
    for (auto _ : state)
        benchmark::DoNotOptimize(UpdateReport(true, rig.gpus));
}
BENCHMARK(UpdateReportOf16Gpus)->Unit(benchmark::kMicrosecond);

void BarePrintOf16Gpus(benchmark::State& state) {
    const CBenchRig rig;
    char text[512];
    for (auto _ : state) {
        for (const QvGpuRecord* gpu : rig.gpus) {
            const CMiningStatistics& counters = gpu->statistics;
            std::snprintf(text, sizeof text,
                          "\"Temp\":%u,\"Fan\":%u,\"MemInUse\":%" PRIu64
                          ",\"CoreClk\":%u,\"MemClk\":%u,\"Power\":%u,"
                          "\"HashSpeed\":%" PRIu64 ",\"SolSpeed\":%" PRIu64 ",\"SOK\":%" PRIu64 ",\"SS\":%" PRIu64
                          ",\"SR\":%" PRIu64 ",\"ST\":%" PRId64,
                          gpu->temperature, gpu->fanSpeed, gpu->memoryUsed, gpu->coreClock, gpu->memoryClock,
                          gpu->powerUsage, counters.hashSpeed, counters.solSpeed, counters.accepted, counters.stale,
                          counters.rejected, counters.lastTime);
            benchmark::DoNotOptimize(text);
        }
    }
}
BENCHMARK(BarePrintOf16Gpus)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
