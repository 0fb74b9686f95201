#include "ethash/JobBoard.h"

#include <utility>

void CJobBoard::Publish(std::shared_ptr<const EthashWork> work) {
    {
        const std::lock_guard lock(m_lock);
        m_work = std::move(work);
        m_generation.fetch_add(1, std::memory_order_release);
    }
    m_changed.notify_all();
}

CJobBoard::View CJobBoard::Current() const {
    const std::lock_guard lock(m_lock);
    return {m_generation.load(std::memory_order_relaxed), m_work};
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
