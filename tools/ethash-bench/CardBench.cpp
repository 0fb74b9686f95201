#include "CardBench.h"

#include <algorithm>
#include <random>

#include "SearchBench.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kCheckedItems = 256;

double Since(Clock::time_point begun) {
    return std::chrono::duration<double>(Clock::now() - begun).count();
}

// Copies within the card's memory, for about a second.
double CopyBandwidth(const CCudaContext& context) {
    constexpr std::uint64_t kMost = 1ULL << 30;
    const CudaDriverApi& api = context.Api();
    const std::uint64_t bytes = std::min(kMost, context.GetMemory().freeBytes / 4) & ~std::uint64_t{4095};
    const CCudaMemory from(api, bytes), to(api, bytes);
    CCudaStream stream(context);
    CheckCuda(api, api.MemsetD8Async(from.Address(), 1, bytes, stream.Get()), "cuMemsetD8Async");
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

// One card as it is measured; the figures grow, and who listens is told.
class CCardBench {
  public:
    CCardBench(const CudaDriverApi& api, const BenchOrder& order, const BenchListener& listener, CardFigures& figures)
        : m_api(api), m_order(order), m_listener(listener), m_figures(figures) {}

    void Measure() {
        CudaDevice device = 0;
        char name[128] = {};
        CheckCuda(m_api, m_api.DeviceGet(&device, m_figures.cudaId), "cuDeviceGet");
        CheckCuda(m_api, m_api.DeviceGetName(name, sizeof name - 1, device), "cuDeviceGetName");
        m_figures.name = name;
        const CSensorReader sensors(m_api, device);
        m_figures.facts = sensors.Facts();
        m_listener.measured(m_figures);
        m_listener.doing("GPU " + std::to_string(m_figures.cudaId) + ": opening");
        const CCudaContext context(m_api, m_figures.cudaId, m_order.ptx);
        m_figures.compileSeconds = context.CompileTime().count();
        m_figures.copyBytesPerSecond = CopyBandwidth(context);
        m_listener.measured(m_figures);
        for (const EthashEpoch& epoch : m_order.epochs)
            MeasureEpoch(context, sensors, epoch);
    }

  private:
    void MeasureEpoch(const CCudaContext& context, const CSensorReader& sensors, const EthashEpoch& epoch) {
        EpochFigures figures;
        figures.epoch = epoch;
        const std::string name = "epoch " + std::to_string(epoch.epoch);
        if (context.GetMemory().freeBytes < CCudaDataset::MemoryNeeded(epoch)) {
            figures.problem = "the card has too little memory";
            return Add(figures);
        }
        m_listener.doing(name + ": light cache");
        auto begun = Clock::now();
        const auto cache = CEthashCache::Make(m_order.variant, epoch, SeedOfIndex(epoch.seedIndex), nullptr);
        figures.lightCacheSeconds = Since(begun);
        m_listener.doing(name + ": dataset");
        CCudaDataset dataset(context);
        begun = Clock::now();
        dataset.Build(*cache, [](double) { return true; });
        figures.datasetSeconds = Since(begun);
        std::mt19937_64 random{std::random_device{}()};
        figures.checkedItems = kCheckedItems;
        figures.wrongItems = dataset.CountWrong(*cache, kCheckedItems, random);
        m_listener.doing(name + ": random reads");
        figures.reads = MeasureReads(context, dataset, m_order.readsTime);
        Add(figures);
        MeasureSearches({context, dataset, *cache, sensors}, m_figures.epochs.back());
    }

    void MeasureSearches(const BenchPlace& place, EpochFigures& figures) {
        for (const unsigned variant : m_order.variants) {
            m_listener.doing("epoch " + std::to_string(figures.epoch.epoch) + ": search with " +
                             std::to_string(kSearchVariants[variant]) + " hashes in flight");
            SearchFigures search = MeasureSearch(place, m_order, variant);
            const double bytesPerSecond = search.hashesPerSecond * kBytesPerHash;
            search.shareOfBound = bytesPerSecond / m_figures.copyBytesPerSecond;
            const double reads = figures.reads.bytesPerSecond;
            search.shareOfReads = reads > 0 ? bytesPerSecond / reads : 0;
            figures.searches.push_back(search);
            m_listener.measured(m_figures);
        }
    }

    void Add(const EpochFigures& figures) {
        m_figures.epochs.push_back(figures);
        m_listener.measured(m_figures);
    }

    const CudaDriverApi& m_api;
    const BenchOrder& m_order;
    const BenchListener& m_listener;
    CardFigures& m_figures;
};

}  // namespace

CardFigures MeasureCard(const CudaDriverApi& api, std::int32_t cudaId, const BenchOrder& order,
                        const BenchListener& listener) {
    CardFigures figures;
    figures.cudaId = cudaId;
    try {
        CCardBench(api, order, listener, figures).Measure();
    } catch (const CCudaError& error) {
        figures.problem = error.what();
        listener.measured(figures);
    }
    return figures;
}

bool IsSound(const CardFigures& card) {
    if (!card.problem.empty()) return false;
    return std::ranges::all_of(card.epochs, [](const EpochFigures& epoch) {
        if (!epoch.problem.empty() || !epoch.reads.problem.empty() || epoch.wrongItems != 0) return false;
        return std::ranges::all_of(
            epoch.searches, [](const SearchFigures& search) { return search.wrongSolutions == 0 && search.plausible; });
    });
}
