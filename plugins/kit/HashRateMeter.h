#pragma once
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

// Events per second over a sliding window of about the last five seconds (since the start, until that long has passed).
// The time is handed in. Not thread-safe.
class CHashRateMeter {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // Forgets everything; counting begins now.
    void Start(TimePoint now) noexcept;
    void Add(std::uint64_t count, TimePoint now) noexcept;
    std::uint64_t PerSecond(TimePoint now) const noexcept;

  private:
    static constexpr std::chrono::milliseconds kWindow{5000};
    static constexpr std::chrono::milliseconds kSpacing{250};
    static constexpr std::size_t kMarks = 32;  // more than the window holds at that spacing

    struct Mark {
        TimePoint time{};
        std::uint64_t total = 0;
    };

    std::array<Mark, kMarks> m_marks{};
    std::size_t m_count = 0;  // marks set since the start; the latest kMarks are kept
    std::uint64_t m_total = 0;
};
