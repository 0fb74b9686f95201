#pragma once
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

// A simulated card's queue: a thread of its own does the work in order, each piece some time after it was handed over. One
// thread at a time hands over; all else any thread.
class CCardStream {
  public:
    // Null and Blocking wait for one another's work, as the driver's streams do; NonBlocking waits for nobody's.
    enum class Kind { Null, Blocking, NonBlocking };
    using Delay = std::chrono::microseconds;

    // So many pieces of that stream's work; none before anything was handed over.
    struct Point {
        std::shared_ptr<CCardStream> stream;
        std::uint64_t place = 0;
    };

    explicit CCardStream(Kind kind);
    ~CCardStream();  // what has not begun is dropped
    CCardStream(const CCardStream&) = delete;
    CCardStream& operator=(const CCardStream&) = delete;

    Kind KindOf() const { return m_kind; }
    // The work is not begun before the points in after are reached, nor earlier than the delay.
    void Queue(std::function<void()> work, bool isGrid, Delay delay, std::vector<Point> after);
    std::uint64_t Queued() const;
    bool IsIdle() const;
    void Wait(std::uint64_t place);

    // What the program has been told to be done, whatever is. Known is told by an event or a query only.
    void Know(std::uint64_t place);
    bool IsKnown(std::uint64_t place) const;
    bool AreGridsKnown() const;

  private:
    struct Piece {
        std::function<void()> work;
        std::chrono::steady_clock::time_point begin;
        std::vector<Point> after;
    };
    void Run();

    const Kind m_kind;
    mutable std::mutex m_lock;  // guards the following
    mutable std::condition_variable m_changed;
    std::deque<Piece> m_pieces;
    std::uint64_t m_queued = 0, m_done = 0, m_known = 0, m_lastGrid = 0;
    bool m_ended = false;
    std::minstd_rand m_random;
    std::thread m_thread;  // last: it uses the others
};
