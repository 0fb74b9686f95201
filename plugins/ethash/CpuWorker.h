#pragma once
#include <cstdint>
#include <memory>
#include <thread>
#include "ethash/HashWorker.h"
#include "ethash/ShareSender.h"
#include "ethash/SpeedRecorder.h"
#include "ethash/WorkCursor.h"

// Hashes on a thread of its own.
class CCpuWorker final : public IHashWorker {
  public:
    CCpuWorker(const WorkerPlace& place, std::shared_ptr<const CJobBoard> board, IEngineHost& host);
    // Returns when the thread has ended.
    ~CCpuWorker() override;
    CCpuWorker(const CCpuWorker&) = delete;
    CCpuWorker& operator=(const CCpuWorker&) = delete;

  private:
    void Run();
    void HashBatch();

    const std::shared_ptr<const CJobBoard> m_board;
    IEngineHost& m_host;
    CSpeedRecorder m_recorder;
    CShareSender m_sender;
    CWorkCursor m_cursor;
    std::thread m_thread;  // last: runs on the members above
};

// A WorkerMaker.
std::unique_ptr<IHashWorker> MakeCpuWorker(const WorkerPlace& place, const std::shared_ptr<const CJobBoard>& board,
                                           IEngineHost& host);
