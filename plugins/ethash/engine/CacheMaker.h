#pragma once
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include "ethash/engine/CacheStore.h"
#include "kit/EngineHost.h"

// Makes the light cache that one session waits for, on a thread of its own. One thread uses it.
class CCacheMaker {
  public:
    using Done = std::function<void(std::shared_ptr<const CEthashCache>)>;

    // done is called on the maker's thread, never after Cancel has returned.
    CCacheMaker(CCacheStore& store, IEngineHost& host, Done done);
    ~CCacheMaker() { Cancel(); }
    CCacheMaker(const CCacheMaker&) = delete;
    CCacheMaker& operator=(const CCacheMaker&) = delete;

    // Gives up another that is under way; does nothing when this one is.
    void Make(const EthashEpoch& epoch, const Hash256& seed);
    // Waits for the thread, which gives up within milliseconds.
    void Cancel();

  private:
    void Run(const EthashEpoch& epoch, const Hash256& seed);

    CCacheStore& m_store;
    IEngineHost& m_host;
    const Done m_done;
    Hash256 m_seed{};
    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_running{false};
    std::thread m_thread;
};
