#include "ethash/engine/JobBoard.h"

#include <utility>

void CJobBoard::Publish(std::shared_ptr<const EthashWork> work) {
    {
        const std::lock_guard lock(m_lock);
        const bool cleans = work == nullptr || m_work == nullptr || work->cleanId != m_work->cleanId;
        m_work = std::move(work);
        const std::uint64_t generation = m_generation.load(std::memory_order_relaxed) + 1;
        if (cleans) m_clean.store(generation, std::memory_order_release);
        m_generation.store(generation, std::memory_order_release);
    }
    m_changed.notify_all();
}

CJobBoard::View CJobBoard::Current() const {
    const std::lock_guard lock(m_lock);
    return {m_generation.load(std::memory_order_relaxed), m_clean.load(std::memory_order_relaxed), m_work};
}

void CJobBoard::WaitForChange(std::uint64_t generation, std::chrono::steady_clock::time_point deadline) const {
    std::unique_lock lock(m_lock);
    m_changed.wait_until(lock, deadline,
                         [&] { return IsClosed() || m_generation.load(std::memory_order_relaxed) != generation; });
}

void CJobBoard::Close() {
    m_closed.store(true, std::memory_order_release);
    Publish(nullptr);
}
