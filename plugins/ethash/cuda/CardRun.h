#pragma once
#include <array>
#include <chrono>
#include <optional>
#include <random>
#include <string>
#include "ethash/cuda/CardDesk.h"
#include "ethash/cuda/CudaDataset.h"
#include "ethash/cuda/CudaSearch.h"
#include "ethash/cuda/GridSizer.h"
#include "ethash/cuda/VariantTrial.h"
#include "ethash/engine/WorkCursor.h"

// How long a card may take before it is taken for stuck, and when it is tried again.
struct CardPatience {
    std::chrono::milliseconds opening{120'000};  // the driver may compile the kernels
    std::chrono::milliseconds grid{30'000};
    std::chrono::milliseconds stopping{5'000};
    // Before a card that was lost is opened anew: one after the other, then the last each time.
    std::array<std::chrono::milliseconds, 4> pauses{std::chrono::seconds(5), std::chrono::seconds(30),
                                                    std::chrono::seconds(120), std::chrono::seconds(600)};
    std::chrono::milliseconds goodRun{600'000};  // having hashed for so long, a lost card begins with the first pause
    std::chrono::milliseconds memory{30'000};    // before a dataset that had no room is tried again
};

// What a card's thread does: opens the card, keeps the dataset of the work's epoch in it, searches, and has each solution
// verified on the CPU before it is sent.
class CCardRun {
  public:
    // desk and api outlive the run. othersStuck: earlier threads of the card have not ended and may hold memory of it.
    CCardRun(const CudaDriverApi& api, std::int32_t cudaId, std::uint32_t part, std::uint32_t parts, CCardDesk& desk,
             const CardPatience& patience, bool othersStuck);

    // Until the board is closed or the card fails. Called once.
    CardEnd Run();

  private:
    // The card as long as it is open.
    struct Card {
        explicit Card(const CCudaContext& context)
            : dataset(context), spare(context), search(context), sizer(context.MultiProcessors()) {}
        CCudaDataset dataset;
        CCudaDataset spare;  // the one before, kept where both have room: its coin comes back after the developer's period
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
    std::string TriedAgainText() const;
    bool MakeRoom(const CCudaContext& context, Card& card, const EthashEpoch& epoch);
    bool HasRoom(const CCudaContext& context, const EthashEpoch& epoch);
    bool BuildChecked(Card& card, const CEthashCache& cache);
    bool Build(Card& card, const CEthashCache& cache);
    CCudaDataset::Progress ProgressOf(const EthashEpoch& epoch);
    bool StillWanted(const EthashEpoch& epoch) const;

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
    const bool m_othersStuck;
    std::mt19937_64 m_random{std::random_device{}()};

    CWorkCursor m_cursor;
    std::optional<std::uint32_t> m_refused;  // the epoch whose dataset the card had no room for
    std::chrono::steady_clock::time_point m_tryAgain;
    InFlight m_inFlight[CCudaSearch::kSlots];
    std::size_t m_nextSlot = 0;
    std::chrono::steady_clock::time_point m_lastEnd;  // of the latest grid
};
