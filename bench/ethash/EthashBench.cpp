// Hashing from the light cache of epoch 0, on one core. The plain one-at-a-time forms are the reference that the lockstep
// forms are measured against, in the same run.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "ethash/EthashItems.h"

namespace {

const CEthashCache& Cache() {
    static const auto cache =
        CEthashCache::Make(EthashVariant::Ethash, EpochOfBlock(EthashVariant::Ethash, 0), SeedOfIndex(0), nullptr);
    return *cache;
}

constexpr Hash256 kHeader = {1, 2, 3};

void ItemPlain(benchmark::State& state) {
    const CEthashCache& cache = Cache();
    std::uint32_t index = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(DatasetItem(cache, index += 7919));
    state.SetItemsProcessed(state.iterations());
}

template <auto kForm>
void ItemsInLockstep(benchmark::State& state) {
    if (kForm == DatasetItemsAvx2 && !HasAvx2()) {
        state.SkipWithError("no AVX2");
        return;
    }
    const CEthashCache& cache = Cache();
    std::array<std::uint32_t, kLockstepItems> indices{};
    std::array<EthashItem, kLockstepItems> items{};
    std::uint32_t index = 0;
    for (auto _ : state) {
        for (auto& each : indices)
            each = index += 7919;
        kForm(cache, indices, items.data());
        benchmark::DoNotOptimize(items);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kLockstepItems));
}

void HashPlain(benchmark::State& state) {
    const CEthashCache& cache = Cache();
    std::uint64_t nonce = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(Hashimoto(cache, kHeader, ++nonce));
    state.SetItemsProcessed(state.iterations());
}

void HashBatch(benchmark::State& state) {
    const CEthashCache& cache = Cache();
    std::array<std::uint64_t, kBatchNonces> nonces{};
    std::array<EthashResult, kBatchNonces> results{};
    std::uint64_t nonce = 0;
    for (auto _ : state) {
        for (auto& each : nonces)
            each = ++nonce;
        HashimotoBatch(cache, kHeader, nonces, results);
        benchmark::DoNotOptimize(results);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kBatchNonces));
}

void LightCache(benchmark::State& state) {
    const auto number = static_cast<std::uint32_t>(state.range(0));
    const EthashEpoch epoch = EpochOfBlock(EthashVariant::Ethash, std::uint64_t{number} * 30'000);
    const Hash256 seed = SeedOfIndex(number);
    for (auto _ : state)
        benchmark::DoNotOptimize(CEthashCache::Make(EthashVariant::Ethash, epoch, seed, nullptr));
}

// From the moment that a job is replaced to the moment that a hashing thread has left the batch of the old one.
void JobPickup(benchmark::State& state) {
    const CEthashCache& cache = Cache();
    std::atomic<std::uint64_t> generation{1};
    std::atomic<std::uint64_t> seen{1};
    std::jthread worker([&](const std::stop_token& stop) {
        const std::array<std::uint64_t, kBatchNonces> nonces{};
        std::array<EthashResult, kBatchNonces> results{};
        while (!stop.stop_requested()) {
            const EthashAbort abort{generation, generation.load()};
            seen = abort.expected;
            HashimotoBatch(cache, kHeader, nonces, results, &abort);
        }
    });
    std::vector<double> taken;
    for (auto _ : state) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1) + std::chrono::microseconds(37 * (taken.size() % 97)));
        const auto replaced = std::chrono::steady_clock::now();
        const std::uint64_t next = ++generation;
        while (seen != next)
            std::this_thread::yield();
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - replaced;
        taken.push_back(seconds.count());
        state.SetIterationTime(seconds.count());
    }
    std::sort(taken.begin(), taken.end());
    state.counters["p50_us"] = 1e6 * taken[taken.size() / 2];
    state.counters["p99_us"] = 1e6 * taken[taken.size() * 99 / 100];
}

BENCHMARK(ItemPlain);
BENCHMARK(ItemsInLockstep<DatasetItemsBaseline>)->Name("ItemsLockstepBaseline");
BENCHMARK(ItemsInLockstep<DatasetItemsAvx2>)->Name("ItemsLockstepAvx2");
BENCHMARK(HashPlain);
BENCHMARK(HashBatch);
BENCHMARK(LightCache)->Arg(0)->Arg(431)->Unit(benchmark::kMillisecond);
BENCHMARK(JobPickup)->UseManualTime()->Iterations(2000)->Unit(benchmark::kMicrosecond);

}  // namespace
