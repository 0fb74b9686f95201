#include "ethash/cuda/CardDesk.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <utility>

namespace {

constexpr std::chrono::seconds kMostPerLook{1};
constexpr std::chrono::seconds kAsleep{5};  // what has not been looked at for so long has slept, or was kept from running

}  // namespace

CCardDesk::CCardDesk(const WorkerPlace& place, std::shared_ptr<const CJobBoard> board, IEngineHost& host, bool afterTrouble)
    : m_cudaId(place.gpu.cudaId),
      m_board(std::move(board)),
      m_host(host),
      m_statistics(place.gpu.statistics),
      m_recorder(place.gpu.statistics),
      m_sender(place.gpu.cudaId, *m_board, host, m_recorder),
      m_inTrouble(afterTrouble) {}

void CCardDesk::Started() {
    const std::lock_guard lock(m_lock);
    if (!m_closed) m_host.CardThreadStarted();
}

void CCardDesk::Log(const std::string& text) {
    const std::lock_guard lock(m_lock);
    LogLocked(text);
}

void CCardDesk::LogTrouble(const std::string& text) {
    const std::lock_guard lock(m_lock);
    m_inTrouble = true;
    if (std::exchange(m_trouble, text) != text) LogLocked(text);
}

void CCardDesk::LogLocked(const std::string& text) {
    if (!m_closed) m_host.Log("GPU " + std::to_string(m_cudaId) + ": " + text);
}

void CCardDesk::Hashed(std::uint64_t hashes, std::uint64_t solutions) {
    const std::lock_guard lock(m_lock);
    if (m_closed) return;
    const auto now = Clock::now();
    if (m_hashing) m_hashed += std::min<Clock::duration>(now - m_lastHash, kAsleep);
    m_lastHash = now;
    m_hashing = true;
    if (hashes > 0 && std::exchange(m_inTrouble, false)) {
        m_trouble.clear();
        LogLocked("hashing");
    }
    m_recorder.Hashed(hashes, solutions, now);
}

void CCardDesk::Idle() {
    const std::lock_guard lock(m_lock);
    if (m_closed) return;
    m_hashing = false;
    m_recorder.Idle(Clock::now());
}

void CCardDesk::Found(const CJobBoard::View& seen, std::uint64_t nonce, const EthashResult& result) {
    const std::lock_guard lock(m_lock);
    if (!m_closed) m_sender.Found(seen, nonce, result);
}

void CCardDesk::HardwareError(std::uint64_t nonce) {
    const std::lock_guard lock(m_lock);
    if (m_closed) return;
    const std::uint64_t errors = ++m_statistics.reserved0;
    // A card that errs all the time must not fill the log.
    if (errors > 10 && errors % 100 != 0) return;
    char text[128];
    std::snprintf(text, sizeof text, "GPU %d: hardware error %" PRIu64 ": nonce %016" PRIx64 " is no solution", m_cudaId,
                  errors, nonce);
    m_host.Log(text);
}

void CCardDesk::Beat(Clock::duration allowance) {
    const std::lock_guard lock(m_lock);
    m_allowance = allowance;
    m_waited = {};
}

void CCardDesk::SetGenerationWord(unsigned* word) {
    const std::lock_guard lock(m_lock);
    m_generationWord = word;
}

void CCardDesk::End(CardEnd end) {
    const std::lock_guard lock(m_lock);
    m_end = std::move(end);
    m_ended.notify_all();
}

void CCardDesk::Close() {
    const std::lock_guard lock(m_lock);
    if (m_closed) return;
    m_recorder.Idle(Clock::now());
    m_closed.store(true, std::memory_order_release);
}

void CCardDesk::TellGeneration() {
    const std::lock_guard lock(m_lock);
    if (m_generationWord == nullptr) return;
    const auto generation = static_cast<unsigned>(m_board->CleanGeneration().load(std::memory_order_acquire));
    std::atomic_ref(*m_generationWord).store(generation, std::memory_order_release);
}

CCardDesk::Clock::duration CCardDesk::HashedTime() {
    const std::lock_guard lock(m_lock);
    return m_hashed;
}

bool CCardDesk::Look(Clock::time_point now) {
    const std::lock_guard lock(m_lock);
    if (m_closed) return true;
    const Clock::duration since = now - std::exchange(m_lastLook, now);
    m_waited += std::min<Clock::duration>(since, kMostPerLook);
    // The speed begins anew instead of being spread over the sleep.
    if (since > kAsleep) m_hashing = false;
    if (m_hashing) {
        m_recorder.Hashed(0, 0, now);
    } else {
        m_recorder.Idle(now);
    }
    return m_waited < m_allowance;
}

std::optional<CardEnd> CCardDesk::WaitForEnd(Clock::time_point deadline) {
    std::unique_lock lock(m_lock);
    m_ended.wait_until(lock, deadline, [this] { return m_end.has_value(); });
    return m_end;
}
