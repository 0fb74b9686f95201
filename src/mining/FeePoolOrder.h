#pragma once
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>
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
