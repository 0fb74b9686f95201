#pragma once
#include <cstdint>
#include <span>
#include <thread>
#include "ethash/EngineHost.h"
#include "ethash/JobBoard.h"
#include "ethash/NonceRange.h"
#include "ethash/SpeedRecorder.h"
#include "quorvel/plugin.h"

// Hashes in the name of one GPU record on a thread of its own: takes the work that hangs on the board, its part of the
// nonces, sends what it finds and keeps the record's statistics.
class CCpuWorker {
  public:
    // part of parts: its place among the workers that divide the nonces. gpu, board and host outlive the worker.
    CCpuWorker(QvGpuRecord& gpu, std::uint32_t part, std::uint32_t parts, const CJobBoard& board, IEngineHost& host);
    // The board must have been closed; returns when the thread has ended.
    ~CCpuWorker();
    CCpuWorker(const CCpuWorker&) = delete;
    CCpuWorker& operator=(const CCpuWorker&) = delete;

  private:
    void Run();
    void TakeWork();
    void HashBatch();
    void Report(std::uint64_t nonce, const EthashResult& result);
    bool Send(const EthashWork& work, std::uint64_t nonce, const Hash256& mix);

    const std::int32_t m_cudaId;
    const std::uint32_t m_part;
    const std::uint32_t m_parts;
    const CJobBoard& m_board;
    IEngineHost& m_host;
    CSpeedRecorder m_recorder;
    CJobBoard::View m_view;
    CNonceRange m_nonces;
    bool m_exhausted = false;  // every nonce of this work was hashed
    std::uint16_t m_sequence = 0;
    std::thread m_thread;  // last: runs on the members above
};
