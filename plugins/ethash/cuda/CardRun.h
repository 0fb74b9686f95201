#pragma once
#include <chrono>
#include <optional>
#include <random>
#include "ethash/WorkCursor.h"
#include "ethash_cuda/CardDesk.h"
#include "ethash_cuda/CudaDataset.h"
#include "ethash_cuda/CudaSearch.h"
#include "ethash_cuda/GridSizer.h"
#include "ethash_cuda/VariantTrial.h"

// How long a card may take before it is taken for stuck.
struct CardPatience {
    std::chrono::milliseconds opening{120'000};  // the driver may compile the kernels
    std::chrono::milliseconds grid{30'000};
    std::chrono::milliseconds stopping{5'000};
};

// What a card's thread does: opens the card, keeps the dataset of the work's epoch in it, searches, and has each solution
// verified on the CPU before it is sent.
class CCardRun {
  public:
    // desk and api outlive the run.
    CCardRun(const CudaDriverApi& api, std::int32_t cudaId, std::uint32_t part, std::uint32_t parts, CCardDesk& desk,
             const CardPatience& patience);

    // Until the board is closed or the card fails. Called once.
    CardEnd Run();

  private:
    // The card as long as it is open.
    struct Card {
        explicit Card(const CCudaContext& context) : dataset(context), search(context), sizer(context.MultiProcessors()) {}
        CCudaDataset dataset;
        CCudaSearch search;
        CGridSizer sizer;
        CVariantTrial trial;
    };
    struct InFlight {
        CJobBoard::View view;
        unsigned variant = 0;
        std::chrono::steady_clock::time_point launched;
    };

    bool IsOver() const { return m_desk.IsClosed() || m_desk.Board().IsClosed(); }
    void Step(const CCudaContext& context, Card& card);
    void Rest(Card& card);

    bool HasDataset(const CCudaContext& context, Card& card);
    bool HasRoom(const CCudaContext& context, const EthashEpoch& epoch);
    bool BuildChecked(Card& card, const CEthashCache& cache);
    bool Build(Card& card, const CEthashCache& cache);
    bool StillWanted(const Hash256& seed) const;

    void Pump(Card& card);
    void LaunchNext(Card& card, std::size_t slot);
    void Drain(Card& card);
    SearchOutcome Collect(Card& card, std::size_t slot);
    void Measure(Card& card, const InFlight& grid, const SearchOutcome& outcome);
    void Account(const InFlight& grid, const SearchOutcome& outcome);
    void Verify(const CJobBoard::View& view, std::uint64_t nonce);

    const CudaDriverApi& m_api;
    const std::int32_t m_cudaId;
    CCardDesk& m_desk;
    const CardPatience m_patience;
    std::mt19937_64 m_random{std::random_device{}()};

    CWorkCursor m_cursor;
    std::optional<Hash256> m_refused;  // the seed whose dataset the card has no room for
    InFlight m_inFlight[CCudaSearch::kSlots];
    std::size_t m_nextSlot = 0;
    std::chrono::steady_clock::time_point m_lastEnd;  // of the latest grid
};
