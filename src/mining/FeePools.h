#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>
#include "config/AlgorithmList.h"
#include "config/MinerConfiguration.h"
#include "pool/PoolAccess.h"

// Orders a pool list by latency without anybody waiting for it: the pings run on a thread of their own that shares only the
// request with this object and is left behind when the object goes. One thread uses the object.
class CFeePoolOrder {
  public:
    CFeePoolOrder() = default;
    ~CFeePoolOrder();
    CFeePoolOrder(const CFeePoolOrder&) = delete;
    CFeePoolOrder& operator=(const CFeePoolOrder&) = delete;

    // Once; later calls do nothing. ping is called on the other thread and may outlive this object.
    void Start(std::vector<PoolPointer> pools, PingFunction ping);
    // The ordered list, once, when it is there.
    std::optional<std::vector<PoolPointer>> Take();

  private:
    struct Request {
        std::atomic<bool> abandoned = false;
        std::mutex lock;
        std::optional<std::vector<PoolPointer>> result;  // under lock
    };
    std::shared_ptr<Request> m_request;
};

// Gives every fee pool ever built an id of its own: -2, -3, ... so that none is a user's pool. Any thread.
class CFeePoolIds {
  public:
    std::uint32_t Next() { return m_next--; }

  private:
    std::atomic<std::uint32_t> m_next{static_cast<std::uint32_t>(-2)};
};

// The developer's pools for a session whose primary pool has that algorithm, first tried first.
std::vector<PoolPointer> BuildFeePools(std::int32_t algorithmId, const CAlgorithmList& algorithms, CFeePoolIds& ids);
