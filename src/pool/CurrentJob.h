#pragma once
#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include "common/Time.h"

// The job that a session works on, for those who show it.
struct JobInfo {
    ddt_datetime time;  // UTC, when it came; unset: there is no job
    std::string id;     // narrow, as the pool wrote it
};

// Written by one thread, read by any other; the writer never waits. A reader that is overtaken reads again.
class CCurrentJob {
  public:
    void Set(std::string_view id, ddt_datetime time) noexcept;  // an id beyond 127 bytes is cut
    void Clear() noexcept { Set({}, {}); }
    JobInfo Get() const;

  private:
    static constexpr std::size_t kWords = 16;  // 128 bytes of the id

    std::atomic<std::uint32_t> m_sequence = 0;  // odd while the words change
    std::atomic<std::int64_t> m_time = 0;
    std::array<std::atomic<std::uint64_t>, kWords> m_id = {};
};
