#include "ethash/cuda/CudaWorker.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "kit/LogText.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostStuck = 3;
constexpr std::chrono::milliseconds kBetweenLooks{100};

}  // namespace

std::chrono::milliseconds CRestartPauses::Next(std::chrono::steady_clock::duration hashed) {
    if (hashed >= m_patience.goodRun) m_next = 0;
    return m_patience.pauses[std::min(m_next++, m_patience.pauses.size() - 1)];
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
    CardEnd end{Unusable, m_driver.problem};
    while (!m_board->IsClosed()) {
        if (m_driver.api != nullptr) end = RunCardOnce();
        if (end.kind == Stopped) return;
        if (end.kind == Unusable) {
            Log("not hashing: " + end.reason);
            Rest(Clock::time_point::max());
            return;
        }
        m_wasLost = true;
        const std::chrono::milliseconds pause = m_pauses.Next(end.hashed);
        Log("lost: " + end.reason + "; it is started again in " + SecondsText(pause));
        Rest(Clock::now() + pause);
    }
}

CardEnd CCudaWorker::RunCardOnce() {
    std::erase_if(m_stuck, [](const auto& desk) { return desk->WaitForEnd(Clock::now()).has_value(); });
    if (m_stuck.size() >= kMostStuck) {
        return {CardEnd::Kind::Lost, "its driver has not returned from " + std::to_string(m_stuck.size()) + " calls"};
    }
    const bool othersStuck = !m_stuck.empty();
    const auto desk = std::make_shared<CCardDesk>(m_place, m_board, m_host, m_wasLost);
    std::thread thread;
    try {
        thread = std::thread([desk, &api = *m_driver.api, cudaId = m_place.gpu.cudaId, part = m_place.part,
                              parts = m_place.parts, patience = m_patience, othersStuck] {
            desk->End(CCardRun(api, cudaId, part, parts, *desk, patience, othersStuck).Run());
        });
    } catch (const std::system_error& error) {
        return {CardEnd::Kind::Lost, std::string("no thread for it: ") + error.what()};
    }
    CardEnd end = Watch(*desk);
    end.hashed = desk->HashedTime();
    const bool ended = desk->WaitForEnd(Clock::now()).has_value();
    desk->Close();
    if (ended) {
        thread.join();
    } else {
        GiveUp(std::move(thread), desk);
    }
    return end;
}

void CCudaWorker::GiveUp(std::thread thread, std::shared_ptr<CCardDesk> desk) {
    Log("its driver does not return: it is given up");
    m_host.KeepCodeLoaded();
    m_stuck.push_back(std::move(desk));
    // Fit only for a thread that is stuck: the C++ runtime does not stand one that ends while it is being detached.
    thread.detach();
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
    // By short waits: the clock goes on while the PC sleeps.
    for (std::chrono::milliseconds waited{}; waited < m_patience.stopping; waited += kBetweenLooks) {
        if (const auto end = desk.WaitForEnd(Clock::now() + kBetweenLooks)) return *end;
    }
    return {};
}

void CCudaWorker::Log(const std::string& text) {
    m_host.Log("GPU " + std::to_string(m_place.gpu.cudaId) + ": " + text);
}

void CCudaWorker::Rest(Clock::time_point end) {
    CSpeedRecorder recorder(m_place.gpu.statistics);
    for (auto now = Clock::now(); now < end && !m_board->IsClosed(); now = Clock::now()) {
        recorder.Idle(now);
        m_board->WaitForChange(m_board->Current().generation, std::min(end, recorder.NextSecond()));
    }
}

std::unique_ptr<IHashWorker> MakeCudaWorker(const WorkerPlace& place, const std::shared_ptr<const CJobBoard>& board,
                                            IEngineHost& host) {
    return std::make_unique<CCudaWorker>(InstalledCudaDriver(), place, board, host);
}
