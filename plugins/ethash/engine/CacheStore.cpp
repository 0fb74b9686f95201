#include "ethash/engine/CacheStore.h"

#include <algorithm>
#include <chrono>

namespace {

// Calls a function when the scope is left, however that is.
template <class Function>
class CAtExit {
  public:
    explicit CAtExit(Function function) : m_function(function) {}
    ~CAtExit() { m_function(); }
    CAtExit(const CAtExit&) = delete;
    CAtExit& operator=(const CAtExit&) = delete;

  private:
    const Function m_function;
};

}  // namespace

std::shared_ptr<const CEthashCache> CCacheStore::Find(const EthashEpoch& epoch, const Hash256& seed) {
    const std::lock_guard lock(m_lock);
    return FindLocked(epoch, seed);
}

std::shared_ptr<const CEthashCache> CCacheStore::FindLocked(const EthashEpoch& epoch, const Hash256& seed) {
    const auto found = std::find_if(m_kept.begin(), m_kept.end(), [&](const auto& cache) {
        return cache != nullptr && cache->Seed() == seed && cache->Epoch().epoch == epoch.epoch;
    });
    if (found == m_kept.end()) return nullptr;
    std::rotate(m_kept.begin(), found, found + 1);
    return m_kept.front();
}

std::shared_ptr<const CEthashCache> CCacheStore::Make(const EthashEpoch& epoch, const Hash256& seed,
                                                      const std::atomic<bool>& cancelled,
                                                      const std::function<void()>& beforeMaking) {
    std::unique_lock lock(m_lock);
    while (m_making) {
        if (cancelled.load(std::memory_order_relaxed)) return nullptr;
        m_free.wait_for(lock, std::chrono::milliseconds(10));
    }
    if (auto kept = FindLocked(epoch, seed)) return kept;
    m_making = true;
    lock.unlock();
    const CAtExit makingEnds([&] {
        if (!lock.owns_lock()) lock.lock();
        m_making = false;
        m_free.notify_all();
    });

    beforeMaking();
    auto made = CEthashCache::Make(m_variant, epoch, seed, &cancelled);
    if (made == nullptr) return nullptr;
    lock.lock();
    std::rotate(m_kept.rbegin(), m_kept.rbegin() + 1, m_kept.rend());
    m_kept.front() = made;
    return made;
}
