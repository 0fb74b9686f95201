#include "pool/CurrentJob.h"

#include <thread>

void CCurrentJob::Set(std::string_view id, ddt_datetime time) noexcept {
    std::array<std::uint64_t, kWords> words = {};
    id.copy(reinterpret_cast<char*>(words.data()), sizeof words - 1);
    const std::uint32_t sequence = m_sequence.load(std::memory_order_relaxed);
    m_sequence.store(sequence + 1, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    m_time.store(time.ticks, std::memory_order_relaxed);
    for (std::size_t i = 0; i < kWords; ++i)
        m_id[i].store(words[i], std::memory_order_relaxed);
    m_sequence.store(sequence + 2, std::memory_order_release);
}

JobInfo CCurrentJob::Get() const {
    std::array<std::uint64_t, kWords> words = {};
    for (;;) {
        const std::uint32_t before = m_sequence.load(std::memory_order_acquire);
        const std::int64_t time = m_time.load(std::memory_order_relaxed);
        for (std::size_t i = 0; i < kWords; ++i)
            words[i] = m_id[i].load(std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_acquire);
        if (before % 2 == 0 && m_sequence.load(std::memory_order_relaxed) == before) {
            return {{time}, reinterpret_cast<const char*>(words.data())};
        }
        std::this_thread::yield();
    }
}
