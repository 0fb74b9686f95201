#include "CardBench.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <ctime>
#include <random>
#include <span>
#include <thread>
#include <utility>

#include "ethash_cuda/GridSizer.h"

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
using Say = std::function<void(const std::string&)>;

constexpr unsigned kCheckedItems = 256;
constexpr unsigned kSwitches = 50;
constexpr std::uint64_t kEpochBlocks = 30'000;

double Since(Clock::time_point begun) {
    return Seconds(Clock::now() - begun).count();
}

double ProcessorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

// Copies within the card's memory, for about a second.
double CopyBandwidth(const CCudaContext& context) {
    constexpr std::uint64_t kMost = 1ULL << 30;
    const CudaDriverApi& api = context.Api();
    const std::uint64_t bytes = std::min(kMost, context.GetMemory().freeBytes / 4) & ~std::uint64_t{4095};
    const CCudaMemory from(api, bytes), to(api, bytes);
    CheckCuda(api, api.MemsetD8(from.Address(), 1, bytes), "cuMemsetD8");
    CCudaStream stream(context);
    const auto copy = [&](unsigned times) {
        const auto begun = Clock::now();
        for (unsigned i = 0; i < times; ++i)
            CheckCuda(api, api.MemcpyDtoDAsync(to.Address(), from.Address(), bytes, stream.Get()), "cuMemcpyDtoDAsync");
        stream.Mark();
        stream.WaitForMark();
        return Since(begun);
    };
    const double first = copy(4);
    const auto times = static_cast<unsigned>(std::clamp(4.0 / first, 4.0, 5000.0));
    const double seconds = copy(times);
    return 2.0 * static_cast<double>(bytes) * times / seconds;
}

// Searches one epoch's dataset as the miner does: two grids at a time, of about ten milliseconds each.
class CSearchBench {
  public:
    CSearchBench(const CCudaContext& context, const CCudaDataset& dataset, const CEthashCache& cache, unsigned variant)
        : m_dataset(dataset), m_cache(cache), m_variant(variant), m_search(context), m_sizer(context.MultiProcessors()) {
        std::generate(m_header.begin(), m_header.end(), [this] { return static_cast<std::uint8_t>(m_random()); });
    }

    SearchFigures Measure(std::chrono::seconds time) {
        SearchFigures figures;
        // First hard, so that the speed is known, then with about two solutions a second.
        m_target = {};
        const double speed = SearchFor(std::chrono::seconds(2), figures) / 2;
        SetTargetTop(static_cast<std::uint64_t>(0x1p64 * std::min(0.01, 2 / std::max(speed, 1.0))));
        figures = SearchFigures();
        figures.hashesInFlight = kSearchVariants[m_variant];
        const auto begun = Clock::now();
        const double processor = ProcessorSeconds();
        const double hashes = SearchFor(time, figures);
        figures.seconds = Since(begun);
        figures.processorShare = (ProcessorSeconds() - processor) / figures.seconds;
        figures.hashesPerSecond = hashes / figures.seconds;
        figures.jobSwitch = MeasureSwitches();
        return figures;
    }

  private:
    void SetTargetTop(std::uint64_t top) {
        for (std::size_t i = 0; i < 8; ++i)
            m_target[i] = static_cast<std::uint8_t>(top >> (56 - 8 * i));
    }

    void Launch(std::size_t slot) {
        const NonceRun nonces{m_nextNonce, m_sizer.Nonces(TopOf(m_target))};
        m_nextNonce += nonces.count;
        m_search.Launch(
            slot, m_dataset,
            {.header = m_header, .target = m_target, .nonces = nonces, .variant = m_variant, .generation = m_generation});
    }

    double SearchFor(std::chrono::seconds time, SearchFigures& figures) {
        double hashes = 0;
        const auto end = Clock::now() + time;
        auto lastEnd = Clock::now();
        Launch(0);
        Launch(1);
        for (std::size_t slot = 0; m_search.IsBusy(slot); slot = 1 - slot) {
            const SearchOutcome outcome = m_search.Wait(slot);
            const auto now = Clock::now();
            m_sizer.Ran(outcome.hashes, now - std::exchange(lastEnd, now));
            hashes += static_cast<double>(outcome.hashes);
            if (now < end) Launch(slot);
            for (const std::uint64_t nonce : outcome.nonces)
                Verify(nonce, figures);
        }
        return hashes;
    }

    void Verify(std::uint64_t nonce, SearchFigures& figures) const {
        EthashResult result;
        HashimotoBatch(m_cache, m_header, std::span(&nonce, 1), std::span(&result, 1));
        ++(result.final <= m_target ? figures.solutions : figures.wrongSolutions);
    }

    SwitchTimes MeasureSwitches() {
        std::vector<double> times;
        m_target = {};
        for (unsigned i = 0; i < kSwitches; ++i) {
            Launch(0);
            Launch(1);
            std::this_thread::sleep_for(std::chrono::milliseconds(3));  // into the first grid
            const auto begun = Clock::now();
            std::atomic_ref(m_search.GenerationWord()).store(++m_generation, std::memory_order_release);
            m_search.Wait(0);
            m_search.Wait(1);
            times.push_back(Since(begun));
        }
        std::sort(times.begin(), times.end());
        return {kSwitches, times[times.size() / 2], times.back()};
    }

    const CCudaDataset& m_dataset;
    const CEthashCache& m_cache;
    const unsigned m_variant;
    CCudaSearch m_search;
    CGridSizer m_sizer;
    std::mt19937_64 m_random{std::random_device{}()};
    Hash256 m_header{};
    Hash256 m_target{};
    std::uint64_t m_nextNonce = m_random();
    unsigned m_generation = 0;
};

EpochFigures MeasureEpoch(const CCudaContext& context, const BenchOrder& order, std::uint32_t number, double bandwidth,
                          const Say& say) {
    EpochFigures figures;
    figures.epoch = EpochOfBlock(order.variant, number * kEpochBlocks);
    const std::string name = "epoch " + std::to_string(figures.epoch.epoch);
    if (context.GetMemory().freeBytes < CCudaDataset::MemoryNeeded(figures.epoch)) {
        figures.problem = "the card has too little memory";
        return figures;
    }
    say(name + ": light cache");
    auto begun = Clock::now();
    const auto cache = CEthashCache::Make(order.variant, figures.epoch, SeedOfIndex(figures.epoch.seedIndex), nullptr);
    figures.lightCacheSeconds = Since(begun);
    say(name + ": dataset");
    CCudaDataset dataset(context);
    begun = Clock::now();
    dataset.Build(*cache, [](double) { return true; });
    figures.datasetSeconds = Since(begun);
    std::mt19937_64 random{std::random_device{}()};
    figures.checkedItems = kCheckedItems;
    figures.wrongItems = dataset.CountWrong(*cache, kCheckedItems, random);
    for (const unsigned variant : order.variants) {
        say(name + ": search with " + std::to_string(kSearchVariants[variant]) + " hashes in flight");
        SearchFigures search = CSearchBench(context, dataset, *cache, variant).Measure(order.searchTime);
        search.shareOfBound = search.hashesPerSecond / (bandwidth / kBytesPerHash);
        figures.searches.push_back(search);
    }
    return figures;
}

}  // namespace

CardFigures MeasureCard(const CudaDriverApi& api, std::int32_t cudaId, const BenchOrder& order, const Say& say) {
    CardFigures figures;
    figures.cudaId = cudaId;
    try {
        CudaDevice device = 0;
        char name[128] = {};
        CheckCuda(api, api.DeviceGet(&device, cudaId), "cuDeviceGet");
        CheckCuda(api, api.DeviceGetName(name, sizeof name - 1, device), "cuDeviceGetName");
        figures.name = name;
        say("GPU " + std::to_string(cudaId) + ", " + figures.name + ": opening");
        const CCudaContext context(api, cudaId);
        figures.compileSeconds = context.CompileTime().count();
        figures.copyBytesPerSecond = CopyBandwidth(context);
        for (const std::uint32_t epoch : order.epochs)
            figures.epochs.push_back(MeasureEpoch(context, order, epoch, figures.copyBytesPerSecond, say));
    } catch (const CCudaError& error) {
        figures.problem = error.what();
    }
    return figures;
}
