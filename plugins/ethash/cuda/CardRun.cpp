#include "ethash/cuda/CardRun.h"

#include <algorithm>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "kit/LogText.h"

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::chrono::seconds kBetweenProgressLines{5};

std::string EpochText(const EthashEpoch& epoch) {
    return "the dataset of epoch " + std::to_string(epoch.epoch);
}

}  // namespace

CCardRun::CCardRun(const CudaDriverApi& api, std::int32_t cudaId, std::uint32_t part, std::uint32_t parts, CCardDesk& desk,
                   const CardPatience& patience, bool othersStuck)
    : m_api(api),
      m_cudaId(cudaId),
      m_desk(desk),
      m_patience(patience),
      m_othersStuck(othersStuck),
      m_cursor(desk.Board(), part, parts) {}

CardEnd CCardRun::Run() {
    using enum CardEnd::Kind;
    m_desk.Started();
    try {
        m_desk.Beat(m_patience.opening);
        const CCudaContext context(m_api, m_cudaId);
        Card card(context);
        m_desk.Log("the kernels are ready after " + DecimalText(context.CompileTime().count()) + " s");
        // Declared last: the word is forgotten before its memory goes.
        const std::unique_ptr<CCardDesk, void (*)(CCardDesk*)> word(
            &m_desk, [](CCardDesk* desk) { desk->SetGenerationWord(nullptr); });
        m_desk.SetGenerationWord(&card.search.GenerationWord());
        while (!IsOver())
            Step(context, card);
        m_desk.Beat(m_patience.opening);
        Drain(card);
        return {Stopped, {}};
    } catch (const CCudaError& error) {
        if (const char* const advice = error.Advice()) {
            return {Unusable, std::string("the driver cannot run the kernels: ") + error.what() + "; " + advice};
        }
        return {Lost, error.what()};
    } catch (const std::runtime_error& error) {
        return {Unusable, error.what()};
    } catch (const std::bad_alloc&) {
        return {Lost, "not enough memory"};
    }
}

void CCardRun::Step(const CCudaContext& context, Card& card) {
    m_desk.Beat(m_patience.grid);
    if (!m_cursor.IsCurrent()) {
        m_cursor.Update();
        m_desk.TellGeneration();
    }
    if (m_cursor.HasNonces() && HasDataset(context, card)) {
        Pump(card);
    } else {
        Rest(card);
    }
}

void CCardRun::Rest(Card& card) {
    Drain(card);
    m_desk.Idle();
    m_desk.Board().WaitForChange(m_cursor.View().generation, Clock::now() + std::chrono::seconds(1));
}

// ---- The dataset ---------------------------------------------------------------------------------------------------------

bool CCardRun::HasDataset(const CCudaContext& context, Card& card) {
    const CEthashCache& cache = *m_cursor.View().work->cache;
    const EthashEpoch& epoch = cache.Epoch();
    if (card.dataset.IsOf(epoch)) return true;
    if (card.spare.IsOf(epoch)) {
        std::swap(card.dataset, card.spare);
        m_desk.Log(EpochText(epoch) + " was kept");
        return true;
    }
    if (m_refused == epoch.epoch && Clock::now() < m_tryAgain) return false;
    Drain(card);
    m_desk.Idle();
    try {
        if (MakeRoom(context, card, epoch)) {
            const bool built = BuildChecked(card, cache);
            m_refused.reset();
            // When it gave up, or while it was made, other work came.
            return built && m_cursor.IsCurrent();
        }
    } catch (const CCudaError& error) {
        if (error.Result() != kCudaOutOfMemory) throw;
        card.dataset.Drop();
        if (card.spare.IsThere()) {
            card.spare.Drop();
            return false;  // the next step tries it without
        }
        m_desk.LogTrouble("not hashing: " + EpochText(epoch) + " does not fit into its memory; " + TriedAgainText());
    }
    m_refused = epoch.epoch;
    m_tryAgain = Clock::now() + m_patience.memory;
    return false;
}

// The present dataset becomes the spare one if the new one has room beside it.
bool CCardRun::MakeRoom(const CCudaContext& context, Card& card, const EthashEpoch& epoch) {
    card.spare.Drop();
    if (card.dataset.IsThere() && context.GetMemory().freeBytes >= CCudaDataset::MemoryNeeded(epoch)) {
        std::swap(card.dataset, card.spare);
        return true;
    }
    card.dataset.Drop();
    return HasRoom(context, epoch);
}

std::string CCardRun::TriedAgainText() const {
    const char* const holder = m_othersStuck ? "a thread of the card that is stuck may hold some; " : "";
    return holder + ("tried again every " + SecondsText(m_patience.memory));
}

bool CCardRun::HasRoom(const CCudaContext& context, const EthashEpoch& epoch) {
    const CCudaContext::Memory memory = context.GetMemory();
    const std::uint64_t needed = CCudaDataset::MemoryNeeded(epoch);
    if (memory.freeBytes >= needed) return true;
    m_desk.LogTrouble("not hashing: " + EpochText(epoch) + " needs " + MegabyteText(needed) + " of memory, of " +
                      MegabyteText(memory.totalBytes) + " there are " + MegabyteText(memory.freeBytes) + " free; " +
                      TriedAgainText());
    return false;
}

bool CCardRun::BuildChecked(Card& card, const CEthashCache& cache) {
    if (!Build(card, cache)) return false;
    const std::vector<unsigned> wrong = card.dataset.WrongGrids(cache, m_random);
    if (wrong.empty()) return true;
    const std::string name = EpochText(cache.Epoch());
    m_desk.Log(std::to_string(wrong.size()) + " of the " + std::to_string(card.dataset.Grids()) + " parts of " + name +
               " are wrong: made again");
    if (!card.dataset.Rebuild(cache, wrong, ProgressOf(cache.Epoch()))) return false;
    if (!card.dataset.WrongGrids(cache, m_random).empty()) {
        throw std::runtime_error("its memory does not keep what is written: less overclocking may help");
    }
    m_desk.Log(name + " is right now");
    return true;
}

bool CCardRun::Build(Card& card, const CEthashCache& cache) {
    const EthashEpoch& epoch = cache.Epoch();
    const std::string name = EpochText(epoch);
    // Not said at each new try, so that the log's last word about the card stays why it does not hash.
    if (m_refused != epoch.epoch) m_desk.Log("making " + name + " (" + MegabyteText(epoch.datasetBytes) + ")");
    const auto begun = Clock::now();
    const bool built = card.dataset.Build(cache, ProgressOf(epoch));
    if (built) m_desk.Log(name + " is done in " + DecimalText(Seconds(Clock::now() - begun).count()) + " s");
    return built;
}

CCudaDataset::Progress CCardRun::ProgressOf(const EthashEpoch& epoch) {
    return [this, epoch, nextLine = Clock::now() + kBetweenProgressLines](double done) mutable {
        m_desk.Beat(m_patience.grid);
        if (Clock::now() >= nextLine) {
            m_desk.Log(EpochText(epoch) + ": " + std::to_string(static_cast<int>(done * 100)) + " %");
            nextLine = Clock::now() + kBetweenProgressLines;
        }
        return !IsOver() && StillWanted(epoch);
    };
}

bool CCardRun::StillWanted(const EthashEpoch& epoch) const {
    if (m_cursor.IsCurrent()) return true;
    // Without work for the moment it is likely to be the same epoch's again.
    const CJobBoard::View now = m_desk.Board().Current();
    return now.work == nullptr || now.work->cache->Epoch().epoch == epoch.epoch;
}

// ---- The search ----------------------------------------------------------------------------------------------------------

// The free slot gets its next grid before the results of its last one are looked at: the card goes on meanwhile.
void CCardRun::Pump(Card& card) {
    const std::size_t slot = std::exchange(m_nextSlot, (m_nextSlot + 1) % CCudaSearch::kSlots);
    if (!card.search.IsBusy(slot)) {
        LaunchNext(card, slot);
        return;
    }
    const SearchOutcome outcome = Collect(card, slot);
    const InFlight grid = std::move(m_inFlight[slot]);
    Measure(card, grid, outcome);
    LaunchNext(card, slot);
    Account(grid, outcome);
}

void CCardRun::LaunchNext(Card& card, std::size_t slot) {
    // What has changed since is taken first.
    if (!m_cursor.IsCurrent()) return;
    const CJobBoard::View& view = m_cursor.View();
    const EthashJob& job = view.work->job;
    const NonceRun nonces = m_cursor.TakeRun(card.sizer.Nonces(TopOf(job.target)));
    if (nonces.count == 0) return;
    const unsigned variant = card.trial.Current();
    card.search.Launch(slot, card.dataset,
                       {.header = job.header,
                        .target = job.target,
                        .nonces = nonces,
                        .variant = variant,
                        .generation = static_cast<unsigned>(view.clean)});
    m_inFlight[slot] = {view, variant, Clock::now()};
}

void CCardRun::Drain(Card& card) {
    // The older of the two first.
    for (std::size_t i = 0; i < CCudaSearch::kSlots; ++i) {
        const std::size_t slot = (m_nextSlot + i) % CCudaSearch::kSlots;
        if (!card.search.IsBusy(slot)) continue;
        const SearchOutcome outcome = Collect(card, slot);
        Account(m_inFlight[slot], outcome);
        m_inFlight[slot] = {};
    }
}

SearchOutcome CCardRun::Collect(Card& card, std::size_t slot) {
    SearchOutcome outcome = card.search.Wait(slot);
    m_desk.Beat(m_patience.grid);
    return outcome;
}

void CCardRun::Measure(Card& card, const InFlight& grid, const SearchOutcome& outcome) {
    const auto now = Clock::now();
    const Seconds time = now - std::max(grid.launched, m_lastEnd);
    m_lastEnd = now;
    if (outcome.stopped) return;
    card.sizer.Ran(outcome.hashes, time);
    if (!card.trial.Ran(grid.variant, outcome.hashes, time)) return;
    std::string speeds;
    for (unsigned variant = 0; variant < std::size(kSearchVariants); ++variant)
        speeds += " " + std::to_string(kSearchVariants[variant]) + ": " + DecimalText(card.trial.Speed(variant) / 1e6) + ",";
    m_desk.Log("MH/s by hashes in flight:" + speeds + " " + std::to_string(kSearchVariants[card.trial.Current()]) +
               " are kept");
}

void CCardRun::Account(const InFlight& grid, const SearchOutcome& outcome) {
    m_desk.Hashed(outcome.hashes, outcome.nonces.size() + outcome.lost);
    for (const std::uint64_t nonce : outcome.nonces)
        Verify(grid.view, nonce);
}

void CCardRun::Verify(const CJobBoard::View& view, std::uint64_t nonce) {
    const EthashWork& work = *view.work;
    EthashResult result;
    HashimotoBatch(*work.cache, work.job.header, std::span(&nonce, 1), std::span(&result, 1));
    if (result.final <= work.job.target) {
        m_desk.Found(view, nonce, result);
    } else if (TopOf(result.final) > TopOf(work.job.target)) {
        m_desk.HardwareError(nonce);
    }
}
