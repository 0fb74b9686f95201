#include "ethash/cpu/CpuWorker.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <utility>

namespace {

using SteadyClock = std::chrono::steady_clock;

}  // namespace

CCpuWorker::CCpuWorker(const WorkerPlace& place, std::shared_ptr<const CJobBoard> board, IEngineHost& host,
                       CDatasetStore* datasets)
    : m_board(std::move(board)),
      m_host(host),
      m_recorder(place.gpu.statistics),
      m_sender(place.gpu.cudaId, *m_board, host, m_recorder),
      m_cursor(*m_board, place.part, place.parts),
      m_datasets(datasets != nullptr ? std::make_unique<CDatasetUser>(*datasets, host) : nullptr),
      m_thread([this] { Run(); }) {}

CCpuWorker::~CCpuWorker() {
    m_thread.join();
}

std::unique_ptr<IHashWorker> MakeCpuWorker(const WorkerPlace& place, const std::shared_ptr<const CJobBoard>& board,
                                           IEngineHost& host) {
    return std::make_unique<CCpuWorker>(place, board, host);
}

HashingKind CpuHashing(DatasetRules rules) {
    const auto datasets = std::make_shared<CDatasetStore>(std::move(rules));
    const auto make = [datasets](const WorkerPlace& place, const std::shared_ptr<const CJobBoard>& board,
                                 IEngineHost& host) {
        return std::make_unique<CCpuWorker>(place, board, host, datasets.get());
    };
    return {.makeWorker = make, .afterStop = [datasets] { datasets->GiveBackUnused(); }};
}

void CCpuWorker::Run() {
    m_host.HashingThreadStarted();
    while (!m_board->IsClosed()) {
        m_cursor.Update();
        if (m_cursor.HasNonces()) {
            HashBatch();
        } else {
            m_recorder.Idle(SteadyClock::now());
            m_board->WaitForChange(m_cursor.View().generation, m_recorder.NextSecond());
        }
    }
    m_recorder.Idle(SteadyClock::now());
}

void CCpuWorker::HashBatch() {
    std::array<std::uint64_t, kBatchNonces> nonces;
    std::array<EthashResult, kBatchNonces> results;
    const std::size_t count = m_cursor.Take(nonces);
    const CJobBoard::View& view = m_cursor.View();
    const EthashWork& work = *view.work;
    if (!Hash(view, std::span(nonces).first(count), results)) return;

    const Hash256 target = work.job.target;
    std::uint64_t found = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (results[i].final > target) continue;
        ++found;
        m_sender.Found(view, nonces[i], results[i]);
    }
    m_recorder.Hashed(count, found, SteadyClock::now());
}

bool CCpuWorker::Hash(const CJobBoard::View& view, std::span<const std::uint64_t> nonces, std::span<EthashResult> results) {
    const EthashWork& work = *view.work;
    const EthashAbort abort{m_board->CleanGeneration(), view.clean};
    const CEthashDataset* const dataset = m_datasets != nullptr ? m_datasets->Of(work.cache) : nullptr;
    return dataset != nullptr ? HashimotoBatch(*dataset, work.job.header, nonces, results, &abort)
                              : HashimotoBatch(*work.cache, work.job.header, nonces, results, &abort);
}
