#include "common/Clock.h"
#ifdef _WIN32
#include "common/SystemTime.h"
#else
#include <chrono>
#endif

namespace {

#ifdef _WIN32
ddt_datetime Now() noexcept {
    return CurrentTime(TimeMode::Utc);
}
#else
// From 1601-01-01 to 1970-01-01.
constexpr std::int64_t kUnixEpochTicks = 116'444'736'000'000'000;

ddt_datetime Now() noexcept {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, kTicksPerSecond>>;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return {kUnixEpochTicks + std::chrono::duration_cast<Ticks>(now).count()};
}
#endif

class CSystemClock final : public IClock {
  public:
    ddt_datetime UtcNow() const noexcept override { return Now(); }
};

}  // namespace

const IClock& SystemClock() noexcept {
    static const CSystemClock clock;
    return clock;
}
