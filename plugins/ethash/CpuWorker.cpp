#include "ethash/CpuWorker.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <utility>

namespace {

using SteadyClock = std::chrono::steady_clock;

}  // namespace

CCpuWorker::CCpuWorker(const WorkerPlace& place, std::shared_ptr<const CJobBoard> board, IEngineHost& host)
    : m_part(place.part),
      m_parts(place.parts),
      m_board(std::move(board)),
      m_host(host),
      m_recorder(place.gpu.statistics),
      m_sender(place.gpu.cudaId, *m_board, host, m_recorder),
      m_thread([this] { Run(); }) {}

CCpuWorker::~CCpuWorker() {
    m_thread.join();
}

std::unique_ptr<IHashWorker> MakeCpuWorker(const WorkerPlace& place, const std::shared_ptr<const CJobBoard>& board,
                                           IEngineHost& host) {
    return std::make_unique<CCpuWorker>(place, board, host);
}

void CCpuWorker::Run() {
    m_host.HashingThreadStarted();
    while (!m_board->IsClosed()) {
        if (m_board->Generation().load(std::memory_order_acquire) != m_view.generation) TakeWork();
        if (m_view.work != nullptr && !m_exhausted) {
            HashBatch();
        } else {
            m_recorder.Idle(SteadyClock::now());
            m_board->WaitForChange(m_view.generation, m_recorder.NextSecond());
        }
    }
    m_recorder.Idle(SteadyClock::now());
}

void CCpuWorker::TakeWork() {
    const std::shared_ptr<const EthashWork> before = std::move(m_view.work);
    m_view = m_board->Current();
    const EthashWork* const work = m_view.work.get();
    // A new target alone does not begin the search anew.
    if (work == nullptr || (before != nullptr && before->searchId == work->searchId)) return;
    m_nonces = CNonceRange(work->job.nonces, work->nonceBase, m_part, m_parts);
    m_exhausted = false;
}

void CCpuWorker::HashBatch() {
    std::array<std::uint64_t, kBatchNonces> nonces;
    std::array<EthashResult, kBatchNonces> results;
    const std::size_t count = m_nonces.Take(nonces);
    m_exhausted = count < nonces.size();
    const EthashWork& work = *m_view.work;
    const EthashAbort abort{m_board->Generation(), m_view.generation};
    if (!HashimotoBatch(*work.cache, work.job.header, std::span(nonces).first(count), results, &abort)) return;

    const Hash256 target = work.job.target;
    std::uint64_t found = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (results[i].final > target) continue;
        ++found;
        m_sender.Found(m_view, nonces[i], results[i]);
    }
    m_recorder.Hashed(count, found, SteadyClock::now());
}
