#include "SearchBench.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <ctime>
#include <random>
#include <thread>
#include <utility>

#include "SolutionCount.h"
#include "ethash/cuda/GridSizer.h"

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr unsigned kSwitches = 50;

double Since(Clock::time_point begun) {
    return Seconds(Clock::now() - begun).count();
}

double ProcessorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

// Searches one epoch's dataset as the miner does: two grids at a time, of about ten milliseconds each.
class CSearchBench {
  public:
    CSearchBench(const BenchPlace& place, unsigned variant)
        : m_place(place), m_variant(variant), m_search(place.context), m_sizer(place.context.MultiProcessors()) {
        std::generate(m_header.begin(), m_header.end(), [this] { return static_cast<std::uint8_t>(m_random()); });
    }

    SearchFigures Measure(const BenchOrder& order) {
        SearchFigures figures;
        // First hard, so that the speed is known, then so that enough is found to notice what is missing.
        const auto warmUp = Clock::now();
        const double tried = SearchFor(order.warmUpTime, figures);
        const double speed = tried / Since(warmUp);
        const double wanted = kWantedSolutions / (speed * Seconds(order.searchTime).count());
        SetTargetTop(static_cast<std::uint64_t>(0x1p64 * std::min(0.5, wanted)));
        m_found.clear();
        figures = SearchFigures();
        figures.hashesInFlight = kSearchVariants[m_variant];
        const auto begun = Clock::now();
        const double processor = ProcessorSeconds();
        const double hashes = SearchFor(order.searchTime, figures);
        figures.seconds = Since(begun);
        figures.processorShare = (ProcessorSeconds() - processor) / figures.seconds;
        figures.hashesPerSecond = hashes / figures.seconds;
        Verify(figures);
        figures.expectedSolutions = ExpectedSolutions(hashes, TopOf(m_target));
        figures.plausible = IsPlausible(std::uint64_t{figures.solutions} + figures.wrongSolutions + figures.lostSolutions,
                                        figures.expectedSolutions);
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
            slot, m_place.dataset,
            {.header = m_header, .target = m_target, .nonces = nonces, .variant = m_variant, .generation = m_generation});
    }

    double SearchFor(std::chrono::milliseconds time, SearchFigures& figures) {
        double hashes = 0;
        auto lastEnd = Clock::now();
        const auto end = lastEnd + time;
        bool sensorsAreDue = true;
        Launch(0);
        Launch(1);
        for (std::size_t slot = 0; m_search.IsBusy(slot); slot = 1 - slot) {
            const SearchOutcome outcome = m_search.Wait(slot);
            const auto now = Clock::now();
            m_sizer.Ran(outcome.hashes, now - std::exchange(lastEnd, now));
            hashes += static_cast<double>(outcome.hashes);
            if (now < end) Launch(slot);
            if (sensorsAreDue && now > end - time / 2) {
                figures.sensors = m_place.sensors.Read();
                sensorsAreDue = false;
            }
            m_found.insert(m_found.end(), outcome.nonces.begin(), outcome.nonces.end());
            figures.lostSolutions += outcome.lost;
        }
        return hashes;
    }

    // Not on the way, where it would take part in the figures.
    void Verify(SearchFigures& figures) const {
        std::vector<EthashResult> results(m_found.size());
        HashimotoBatch(m_place.cache, m_header, m_found, results);
        for (const EthashResult& each : results)
            ++(each.final <= m_target ? figures.solutions : figures.wrongSolutions);
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

    const BenchPlace& m_place;
    const unsigned m_variant;
    CCudaSearch m_search;
    CGridSizer m_sizer;
    std::mt19937_64 m_random{std::random_device{}()};
    Hash256 m_header{};
    Hash256 m_target{};
    std::uint64_t m_nextNonce = m_random();
    unsigned m_generation = 0;
    std::vector<std::uint64_t> m_found;
};

// Grids of the random reads, as many blocks on a multiprocessor.
class CReadsBench {
  public:
    CReadsBench(const CCudaContext& context, const CCudaDataset& dataset, CudaFunctionObject* kernel,
                unsigned blocksPerMulti)
        : m_context(context),
          m_kernel(kernel),
          m_blocks(blocksPerMulti * context.MultiProcessors()),
          m_sums(context.Api(), std::size_t{m_blocks} * kEthashSearchThreads * sizeof(unsigned)),
          m_stream(context) {
        m_parameters.dataset = reinterpret_cast<const void*>(static_cast<std::uintptr_t>(dataset.Address()));
        m_parameters.sums = reinterpret_cast<unsigned*>(static_cast<std::uintptr_t>(m_sums.Address()));
        m_parameters.pages = DivisorOf(dataset.Epoch().datasetBytes / kPageBytes);
    }

    // Bytes per second.
    double Measure(std::chrono::milliseconds time) {
        m_parameters.steps = 64;
        Run(1);  // the first launch brings the kernel onto the card
        const double first = Run(1);
        m_parameters.steps *= static_cast<unsigned>(std::clamp(0.01 / first, 1.0, 1000.0));
        const double grid = Run(2) / 2;
        const auto grids = static_cast<unsigned>(std::clamp(Seconds(time).count() / grid, 1.0, 500.0));
        const std::uint64_t chains = std::uint64_t{m_blocks} * (kEthashSearchThreads / 8U) * kEthashReadsInFlight;
        return static_cast<double>(chains * m_parameters.steps * kPageBytes * grids) / Run(grids);
    }

  private:
    static constexpr unsigned kPageBytes = 128;

    double Run(unsigned grids) {
        const auto begun = Clock::now();
        for (unsigned i = 0; i < grids; ++i) {
            ++m_parameters.seed;
            m_context.Launch(m_kernel, m_blocks, kEthashSearchThreads, m_stream.Get(), m_parameters);
        }
        m_stream.Mark();
        m_stream.WaitForMark();
        return Since(begun);
    }

    const CCudaContext& m_context;
    CudaFunctionObject* const m_kernel;
    const unsigned m_blocks;
    CCudaMemory m_sums;
    CCudaStream m_stream;
    EthashReadsParameters m_parameters{};
};

}  // namespace

SearchFigures MeasureSearch(const BenchPlace& place, const BenchOrder& order, unsigned variant) {
    return CSearchBench(place, variant).Measure(order);
}

ReadsFigures MeasureReads(const CCudaContext& context, const CCudaDataset& dataset, std::chrono::milliseconds time) {
    constexpr unsigned kBlocks[] = {4, 8, 12, 16};
    ReadsFigures figures;
    CudaFunctionObject* kernel = nullptr;
    try {
        kernel = context.Function("ethash_random_reads");
    } catch (const CCudaError& error) {
        figures.problem = error.what();  // other kernels may lack this one, and be measured all the same
        return figures;
    }
    for (const unsigned blocks : kBlocks) {
        const double speed = CReadsBench(context, dataset, kernel, blocks).Measure(time / std::size(kBlocks));
        if (speed <= figures.bytesPerSecond) continue;
        figures.bytesPerSecond = speed;
        figures.blocksPerMultiprocessor = blocks;
    }
    return figures;
}
