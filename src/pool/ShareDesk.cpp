#include "pool/ShareDesk.h"

#include <algorithm>
#include <limits>
#include <thread>
#include <utility>

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

std::uint32_t CShareDesk::RequestId(std::string_view request) {
    constexpr std::string_view kName = "\"id\":";
    const std::size_t at = request.find(kName);
    if (at == std::string_view::npos) return 0;
    std::uint64_t id = 0;
    for (std::size_t i = request.find_first_not_of(' ', at + kName.size()); i < request.size(); ++i) {
        const char digit = request[i];
        if (digit < '0' || digit > '9' || id > std::numeric_limits<std::uint32_t>::max()) break;
        id = id * 10 + static_cast<std::uint64_t>(digit - '0');
    }
    return id <= std::numeric_limits<std::uint32_t>::max() ? static_cast<std::uint32_t>(id) : 0;
}

bool CShareDesk::Hold(std::string_view request, TimeSpan now) {
    const std::lock_guard lock(m_lock);
    if (m_held.size() >= kMostHeld) return false;
    m_held.push_back({std::string(request), now});
    return true;
}

bool CShareDesk::HoldsAny() const {
    const std::lock_guard lock(m_lock);
    return !m_held.empty();
}

std::vector<std::string> CShareDesk::TakeSendable(std::string_view jobId, TimeSpan now) {
    std::vector<std::string> requests;
    std::string quoted(1, '"');
    quoted.append(jobId).append(1, '"');
    const std::lock_guard lock(m_lock);
    const auto isSendable = [&](const Held& held) {
        return now - held.since <= kLongestHold && held.request.find(quoted) != std::string::npos;
    };
    for (Held& held : m_held) {
        if (isSendable(held)) requests.push_back(held.request);
    }
    std::erase_if(m_held, isSendable);
    return requests;
}

std::vector<std::int32_t> CShareDesk::Expire(TimeSpan now) {
    return TakeOlderThan(now - kLongestHold);
}

std::vector<std::int32_t> CShareDesk::ExpireAll() {
    return TakeOlderThan(std::numeric_limits<TimeSpan>::max());
}

std::vector<std::int32_t> CShareDesk::TakeOlderThan(TimeSpan moment) {
    std::vector<std::int32_t> gpus;
    const std::lock_guard lock(m_lock);
    std::erase_if(m_held, [&](const Held& held) {
        const bool isOld = held.since < moment;
        if (isOld) gpus.push_back(GpuOf(RequestId(held.request)));
        return isOld;
    });
    return gpus;
}

void CShareDesk::Sent(std::uint32_t id, TimeSpan now) {
    const std::lock_guard lock(m_lock);
    // Those that wait longest are kept: they tell whether the pool answers.
    if (m_pending.size() < kMostPending) m_pending.push_back({id, now});
}

void CShareDesk::Answered(std::uint32_t id) {
    const std::lock_guard lock(m_lock);
    const auto found =
        std::find_if(m_pending.begin(), m_pending.end(), [id](const Pending& share) { return share.id == id; });
    if (found != m_pending.end()) m_pending.erase(found);
}

void CShareDesk::ForgetSent() {
    const std::lock_guard lock(m_lock);
    m_pending.clear();
}

bool CShareDesk::AreUnanswered(TimeSpan now) const {
    const std::lock_guard lock(m_lock);
    const auto isLate = [&](const Pending& share) { return now - share.since >= kAnswerTime; };
    return static_cast<std::size_t>(std::count_if(m_pending.begin(), m_pending.end(), isLate)) >= kUnansweredMost;
}
