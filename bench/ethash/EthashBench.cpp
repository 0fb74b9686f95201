// Hashing on one core, epoch 0 where no number says another. The plain one-at-a-time forms are the reference that the
// others are measured against, in the same run.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "ethash/hash/EthashDataset.h"
#include "ethash/hash/EthashItems.h"
#include "ethash/hash/Keccak.h"

namespace {

std::shared_ptr<const CEthashCache> MakeCache(std::uint32_t number) {
    const EthashEpoch epoch = EpochOfBlock(EthashVariant::Ethash, std::uint64_t{number} * 30'000);
    return CEthashCache::Make(EthashVariant::Ethash, epoch, SeedOfIndex(number), nullptr);
}

const std::shared_ptr<const CEthashCache>& SharedCache() {
    static const auto cache = MakeCache(0);
    return cache;
}

const CEthashCache& Cache() {
    return *SharedCache();
}

const CEthashCache& LateCache() {
    static const auto cache = MakeCache(431);
    return *cache;
}

CEthashDataset& Dataset() {
    static const std::atomic<bool> never{false};
    static const auto dataset = CEthashDataset::Allocate(SharedCache(), never);
    return *dataset;
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
    const CEthashCache& cache = state.range(0) == 0 ? Cache() : LateCache();
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

template <class Source>
void HashBatches(benchmark::State& state, const Source& source) {
    std::array<std::uint64_t, kBatchNonces> nonces{};
    std::array<EthashResult, kBatchNonces> results{};
    std::uint64_t nonce = 0;
    for (auto _ : state) {
        for (auto& each : nonces)
            each = ++nonce;
        HashimotoBatch(source, kHeader, nonces, results);
        benchmark::DoNotOptimize(results);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kBatchNonces));
}

void HashBatch(benchmark::State& state) {
    HashBatches(state, Cache());
}

void DatasetParts(benchmark::State& state) {
    CEthashDataset& dataset = Dataset();
    for (auto _ : state) {
        if (!dataset.MakePart()) state.SkipWithError("the dataset is complete");
    }
    state.SetItemsProcessed(state.iterations() * kDatasetPartItems);
}

void HashBatchFromDataset(benchmark::State& state) {
    {
        std::vector<std::jthread> makers;
        for (unsigned i = 0; i < std::thread::hardware_concurrency(); ++i) {
            makers.emplace_back([] {
                while (Dataset().MakePart()) {
                }
            });
        }
    }
    HashBatches(state, Dataset());
}

// The light cache as it is defined: row after row, without a thought for memory.
void LightCachePlain(benchmark::State& state) {
    const EthashEpoch epoch = EpochOfBlock(EthashVariant::Ethash, static_cast<std::uint64_t>(state.range(0)) * 30'000);
    const std::size_t rows = epoch.cacheBytes / sizeof(Hash512);
    for (auto _ : state) {
        std::vector<Hash512> cache(rows);
        cache[0] = Keccak512(SeedOfIndex(epoch.seedIndex));
        for (std::size_t row = 1; row < rows; ++row)
            cache[row] = Keccak512(cache[row - 1]);
        for (std::size_t step = 0; step < 3 * rows; ++step) {
            const std::size_t row = step % rows;
            std::uint32_t word;
            std::memcpy(&word, cache[row].data(), sizeof word);
            Hash512 mixed = cache[(row + rows - 1) % rows];
            for (std::size_t i = 0; i < mixed.size(); ++i)
                mixed[i] ^= cache[word % rows][i];
            cache[row] = Keccak512(mixed);
        }
        benchmark::DoNotOptimize(cache.data());
    }
}

void LightCache(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(MakeCache(static_cast<std::uint32_t>(state.range(0))));
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
BENCHMARK(ItemsInLockstep<DatasetItemsBaseline>)->Name("ItemsLockstepBaseline")->Arg(0);
BENCHMARK(ItemsInLockstep<DatasetItemsAvx2>)->Name("ItemsLockstepAvx2")->Arg(0)->Arg(431);
BENCHMARK(HashPlain);
BENCHMARK(HashBatch);
BENCHMARK(DatasetParts)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(HashBatchFromDataset);  // after the one above: it completes the dataset
BENCHMARK(LightCachePlain)->Arg(0)->Arg(431)->Unit(benchmark::kMillisecond);
BENCHMARK(LightCache)->Arg(0)->Arg(431)->Unit(benchmark::kMillisecond);
BENCHMARK(JobPickup)->UseManualTime()->Iterations(2000)->Unit(benchmark::kMicrosecond);

}  // namespace
