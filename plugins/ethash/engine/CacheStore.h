#pragma once
#include <array>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include "ethash/hash/Ethash.h"

// The light caches of one loaded library, shared by its sessions: the three used last are kept (the user's chain, the one of
// the fee, and an epoch made ahead). Any thread.
class CCacheStore {
  public:
    explicit CCacheStore(EthashVariant variant) : m_variant(variant) {}

    EthashVariant Variant() const { return m_variant; }
    std::shared_ptr<const CEthashCache> Find(const EthashEpoch& epoch, const Hash256& seed);

    // Finds or makes it. One is made at a time, so that sessions that start together make it once. beforeMaking is called
    // when it has to be made. Null when cancelled; throws std::bad_alloc.
    std::shared_ptr<const CEthashCache> Make(const EthashEpoch& epoch, const Hash256& seed,
                                             const std::atomic<bool>& cancelled, const std::function<void()>& beforeMaking);

  private:
    std::shared_ptr<const CEthashCache> FindLocked(const EthashEpoch& epoch, const Hash256& seed);

    const EthashVariant m_variant;
    std::mutex m_lock;  // guards the following
    std::condition_variable m_free;
    bool m_making = false;
    std::array<std::shared_ptr<const CEthashCache>, 3> m_kept;  // used last first
};
