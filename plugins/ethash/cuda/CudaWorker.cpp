#include "ethash_cuda/CudaWorker.h"

#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kRestarts = 3;
constexpr std::chrono::minutes kRestartSpan{10};
constexpr std::chrono::milliseconds kBetweenLooks{100};

}  // namespace

bool CRestartBudget::Take(TimePoint now) {
    while (!m_taken.empty() && now - m_taken.front() >= kRestartSpan)
        m_taken.pop_front();
    if (m_taken.size() >= kRestarts) return false;
    m_taken.push_back(now);
    return true;
}

CCudaWorker::CCudaWorker(const CudaDriver& driver, const WorkerPlace& place, std::shared_ptr<const CJobBoard> board,
                         IEngineHost& host, const CardPatience& patience)
    : m_driver(driver), m_place(place), m_board(std::move(board)), m_host(host), m_patience(patience), m_thread([this] {
          Run();
      }) {}

CCudaWorker::~CCudaWorker() {
    m_thread.join();
}

void CCudaWorker::Run() {
    using enum CardEnd::Kind;
    if (m_driver.api == nullptr) {
        Log("not hashing: " + m_driver.problem);
        StayOut();
    }
    while (!m_board->IsClosed()) {
        const CardEnd end = RunCardOnce();
        if (end.kind == Stopped) return;
        if (end.kind == Unusable) {
            Log("not hashing: " + end.reason);
            StayOut();
        } else if (m_restarts.Take(Clock::now())) {
            Log("lost: " + end.reason + ". It is started again");
        } else {
            Log("lost again: " + end.reason + ". It is left out until mining is started again");
            StayOut();
        }
    }
}

CardEnd CCudaWorker::RunCardOnce() {
    const auto desk = std::make_shared<CCardDesk>(m_place, m_board, m_host);
    std::thread thread([desk, &api = *m_driver.api, cudaId = m_place.gpu.cudaId, part = m_place.part, parts = m_place.parts,
                        patience = m_patience] { desk->End(CCardRun(api, cudaId, part, parts, *desk, patience).Run()); });
    CardEnd end = Watch(*desk);
    const bool ended = desk->WaitForEnd(Clock::now()).has_value();
    desk->Close();
    if (ended) {
        thread.join();
    } else {
        Log("its driver does not return: it is given up");
        m_host.KeepCodeLoaded();
        // Fit only for a thread that is stuck: the C++ runtime does not stand one that ends while it is being detached.
        thread.detach();
    }
    return end;
}

CardEnd CCudaWorker::Watch(CCardDesk& desk) const {
    std::uint64_t generation = m_board->Current().generation;
    while (!m_board->IsClosed()) {
        desk.TellGeneration();
        if (const auto end = desk.WaitForEnd(Clock::now())) return *end;
        if (!desk.Look(Clock::now())) return {CardEnd::Kind::Lost, "it does not get on"};
        m_board->WaitForChange(generation, Clock::now() + kBetweenLooks);
        generation = m_board->Current().generation;
    }
    desk.TellGeneration();
    return desk.WaitForEnd(Clock::now() + m_patience.stopping).value_or(CardEnd{});
}

void CCudaWorker::Log(const std::string& text) {
    m_host.Log("GPU " + std::to_string(m_place.gpu.cudaId) + ": " + text);
}

void CCudaWorker::StayOut() {
    CSpeedRecorder recorder(m_place.gpu.statistics);
    while (!m_board->IsClosed()) {
        recorder.Idle(Clock::now());
        m_board->WaitForChange(m_board->Current().generation, recorder.NextSecond());
    }
}

std::unique_ptr<IHashWorker> MakeCudaWorker(const WorkerPlace& place, const std::shared_ptr<const CJobBoard>& board,
                                            IEngineHost& host) {
    return std::make_unique<CCudaWorker>(InstalledCudaDriver(), place, board, host);
}
