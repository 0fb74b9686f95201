#pragma once
#include "common/Time.h"

// Source of the current time; injected, so that hours pass in milliseconds in a test. Any thread.
class IClock {
  public:
    virtual ~IClock() = default;
    virtual ddt_datetime UtcNow() const noexcept = 0;
    // Ticks since some moment, for measuring how long something takes: never jumps, whatever is done to the system's time,
    // and stands still while the PC sleeps.
    virtual TimeSpan Monotonic() const noexcept = 0;
};

// The system's clock.
const IClock& SystemClock() noexcept;
