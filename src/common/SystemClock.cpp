#include "common/Clock.h"
#ifdef _WIN32
#include <windows.h>
// After windows.h:
#include <realtimeapiset.h>
#include "common/SystemTime.h"
#else
#include <chrono>
#endif

namespace {

#ifdef _WIN32
ddt_datetime Now() noexcept {
    return CurrentTime(TimeMode::Utc);
}

TimeSpan Running() noexcept {
    ULONGLONG ticks = 0;
    QueryUnbiasedInterruptTime(&ticks);
    return static_cast<TimeSpan>(ticks);
}
#else
// From 1601-01-01 to 1970-01-01.
constexpr std::int64_t kUnixEpochTicks = 116'444'736'000'000'000;

using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, kTicksPerSecond>>;

ddt_datetime Now() noexcept {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return {kUnixEpochTicks + std::chrono::duration_cast<Ticks>(now).count()};
}

// Linux leaves the time that the PC sleeps out of this clock.
TimeSpan Running() noexcept {
    return std::chrono::duration_cast<Ticks>(std::chrono::steady_clock::now().time_since_epoch()).count();
}
#endif

class CSystemClock final : public IClock {
  public:
    ddt_datetime UtcNow() const noexcept override { return Now(); }
    TimeSpan Monotonic() const noexcept override { return Running(); }
};

}  // namespace

const IClock& SystemClock() noexcept {
    static const CSystemClock clock;
    return clock;
}
