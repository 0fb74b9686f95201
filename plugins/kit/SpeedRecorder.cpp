#include "kit/SpeedRecorder.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ratio>

namespace {

template <class Word>
void Store(Word& word, Word value) noexcept {
    std::atomic_ref(word).store(value, std::memory_order_relaxed);
}

template <class Word>
Word Load(Word& word) noexcept {
    return std::atomic_ref(word).load(std::memory_order_relaxed);
}

// The value is in place before the bookkeeping says so.
void Append(QvHistory& history, std::uint64_t value) noexcept {
    const std::uint64_t next = Load(history.bookkeeping[0]) % QV_HISTORY_LENGTH;
    const std::uint64_t count = Load(history.bookkeeping[1]);
    Store(history.values[next], value);
    std::atomic_ref(history.bookkeeping[0]).store((next + 1) % QV_HISTORY_LENGTH, std::memory_order_release);
    std::atomic_ref(history.bookkeeping[1])
        .store(std::min<std::uint64_t>(count + 1, QV_HISTORY_LENGTH), std::memory_order_release);
}

std::int64_t FileTimeNow() noexcept {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    constexpr std::int64_t k1601To1970 = 116'444'736'000'000'000;
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<Ticks>(sinceEpoch).count() + k1601To1970;
}

}  // namespace

void CSpeedRecorder::Hashed(std::uint64_t hashes, std::uint64_t solutions, TimePoint now) noexcept {
    if (!m_hashing) {
        m_hashes.Start(now);
        m_solutions.Start(now);
        m_hashing = true;
    } else {
        m_hashes.Add(hashes, now);
        m_solutions.Add(solutions, now);
    }
    Publish(now);
}

void CSpeedRecorder::Idle(TimePoint now) noexcept {
    m_hashing = false;
    Publish(now);
}

void CSpeedRecorder::CountStale() noexcept {
    std::atomic_ref(m_statistics.stale).fetch_add(1, std::memory_order_relaxed);
}

void CSpeedRecorder::ShareSent() noexcept {
    Store(m_statistics.lastTime, FileTimeNow());
}

void CSpeedRecorder::Publish(TimePoint now) noexcept {
    const std::uint64_t hashes = m_hashing ? m_hashes.PerSecond(now) : 0;
    const std::uint64_t solutions = m_hashing ? m_solutions.PerSecond(now) : 0;
    Store(m_statistics.hashSpeed, hashes);
    Store(m_statistics.solSpeed, solutions);
    if (now < m_nextSecond) return;
    Append(m_statistics.hashHistory, hashes);
    Append(m_statistics.solHistory, solutions);
    m_nextSecond += std::chrono::seconds(1);
    if (m_nextSecond <= now) m_nextSecond = now + std::chrono::seconds(1);  // missed seconds are not made up
}
