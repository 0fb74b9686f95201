#pragma once
#include <cstdint>
#include "ethash/engine/JobBoard.h"
#include "kit/EngineHost.h"
#include "kit/SpeedRecorder.h"

// Sends what one GPU found, or counts it as stale. One thread at a time.
class CShareSender {
  public:
    // board, host and recorder outlive the sender.
    CShareSender(std::int32_t cudaId, const CJobBoard& board, IEngineHost& host, CSpeedRecorder& recorder)
        : m_cudaId(cudaId), m_board(board), m_host(host), m_recorder(recorder) {}

    // A nonce whose hash meets the target of the work seen, which may no longer be the present one: it is sent with the job
    // it was found for as long as that job's clean id holds, and is stale after that. A newer target of the same search
    // decides.
    void Found(const CJobBoard::View& seen, std::uint64_t nonce, const EthashResult& result);

  private:
    bool Send(const EthashWork& work, std::uint64_t nonce, const Hash256& mix);

    const std::int32_t m_cudaId;
    const CJobBoard& m_board;
    IEngineHost& m_host;
    CSpeedRecorder& m_recorder;
    std::uint16_t m_sequence = 0;
};
