#pragma once
#include <atomic>
#include <cstdint>
#include <vector>
#include "config/AlgorithmList.h"
#include "config/MinerConfiguration.h"

// Gives every fee pool ever built an id of its own: -2, -3, ... so that none is a user's pool. Any thread.
class CFeePoolIds {
  public:
    std::uint32_t Next() { return m_next--; }

  private:
    std::atomic<std::uint32_t> m_next{static_cast<std::uint32_t>(-2)};
};

// The developer's pools for a session whose primary pool has that algorithm, first tried first.
std::vector<PoolPointer> BuildFeePools(std::int32_t algorithmId, const CAlgorithmList& algorithms, CFeePoolIds& ids);
