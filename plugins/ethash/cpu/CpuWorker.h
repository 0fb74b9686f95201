#pragma once
#include <cstdint>
#include <memory>
#include <span>
#include <thread>
#include "ethash/cpu/DatasetStore.h"
#include "ethash/engine/HashWorker.h"
#include "ethash/engine/ShareSender.h"
#include "ethash/engine/WorkCursor.h"
#include "kit/SpeedRecorder.h"

// Hashes on a thread of its own: from a dataset in memory where there is one, else from the light cache.
class CCpuWorker final : public IHashWorker {
  public:
    // datasets: null for hashing from the light cache only; outlives the worker.
    CCpuWorker(const WorkerPlace& place, std::shared_ptr<const CJobBoard> board, IEngineHost& host,
               CDatasetStore* datasets = nullptr);
    // Returns when the thread has ended.
    ~CCpuWorker() override;
    CCpuWorker(const CCpuWorker&) = delete;
    CCpuWorker& operator=(const CCpuWorker&) = delete;

  private:
    void Run();
    void HashBatch();
    bool Hash(const CJobBoard::View& view, std::span<const std::uint64_t> nonces, std::span<EthashResult> results);

    const std::shared_ptr<const CJobBoard> m_board;
    IEngineHost& m_host;
    CSpeedRecorder m_recorder;
    CShareSender m_sender;
    CWorkCursor m_cursor;
    const std::unique_ptr<CDatasetUser> m_datasets;
    std::thread m_thread;  // last: runs on the members above
};

// A WorkerMaker: workers that hash from the light cache.
std::unique_ptr<IHashWorker> MakeCpuWorker(const WorkerPlace& place, const std::shared_ptr<const CJobBoard>& board,
                                           IEngineHost& host);
// Workers that share one store of datasets, which goes with the last copy of what is returned.
HashingKind CpuHashing(DatasetRules rules = {});
