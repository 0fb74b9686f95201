#include "cards/CardStream.h"

#include <algorithm>
#include <utility>

namespace {
constexpr int kMostJitter = 1000;  // microseconds
}

CCardStream::CCardStream(Kind kind) : m_kind(kind), m_random(std::random_device{}()), m_thread([this] { Run(); }) {}

CCardStream::~CCardStream() {
    {
        const std::lock_guard lock(m_lock);
        m_ended = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void CCardStream::Queue(std::function<void()> work, bool isGrid, Delay delay, std::vector<Point> after) {
    {
        const std::lock_guard lock(m_lock);
        const Delay jitter(std::uniform_int_distribution(100, kMostJitter)(m_random));
        m_pieces.push_back({std::move(work), std::chrono::steady_clock::now() + delay + jitter, std::move(after)});
        ++m_queued;
        if (isGrid) m_lastGrid = m_queued;
    }
    m_changed.notify_all();
}

std::uint64_t CCardStream::Queued() const {
    const std::lock_guard lock(m_lock);
    return m_queued;
}

bool CCardStream::IsIdle() const {
    const std::lock_guard lock(m_lock);
    return m_done == m_queued;
}

void CCardStream::Wait(std::uint64_t place) {
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [&] { return m_done >= place || m_ended; });
}

void CCardStream::Know(std::uint64_t place) {
    const std::lock_guard lock(m_lock);
    m_known = std::max(m_known, place);
}

bool CCardStream::IsKnown(std::uint64_t place) const {
    const std::lock_guard lock(m_lock);
    return m_known >= place;
}

bool CCardStream::AreGridsKnown() const {
    const std::lock_guard lock(m_lock);
    return m_known >= m_lastGrid;
}

void CCardStream::Run() {
    std::unique_lock lock(m_lock);
    while (true) {
        m_changed.wait(lock, [&] { return m_ended || !m_pieces.empty(); });
        if (m_ended) return;
        Piece piece = std::move(m_pieces.front());
        m_pieces.pop_front();
        if (m_changed.wait_until(lock, piece.begin, [&] { return m_ended; })) return;
        lock.unlock();
        for (const Point& point : piece.after)
            point.stream->Wait(point.place);
        piece.work();
        piece = {};
        lock.lock();
        ++m_done;
        m_changed.notify_all();
    }
}
