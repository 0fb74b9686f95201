#pragma once
#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>
#include "common/Clock.h"

// Virtual time and what is to happen in it: one event after the other, those of one moment in the order in which they were
// asked for. Nothing sleeps. One thread.
class CKernel {
  public:
    using Action = std::function<void()>;
    // Names who asked for events, so that they can all be forgotten when he goes.
    using Owner = std::uint32_t;

    TimeSpan Now() const { return m_now; }
    std::uint64_t Steps() const { return m_steps; }

    Owner NewOwner() {
        m_isAlive.push_back(1);
        return static_cast<Owner>(m_isAlive.size() - 1);
    }
    void Forget(Owner owner) { m_isAlive[owner] = 0; }

    void At(TimeSpan moment, Owner owner, Action action) {
        m_events.push_back({moment < m_now ? m_now : moment, m_asked++, owner, std::move(action)});
        std::push_heap(m_events.begin(), m_events.end(), IsLater);
    }
    void After(TimeSpan span, Owner owner, Action action) { At(m_now + span, owner, std::move(action)); }

    // False: nothing is left to happen before the end, where the time stands now.
    bool Step(TimeSpan end);

  private:
    struct Event {
        TimeSpan moment;
        std::uint64_t number;
        Owner owner;
        Action action;
    };
    static bool IsLater(const Event& a, const Event& b) {
        return a.moment != b.moment ? a.moment > b.moment : a.number > b.number;
    }

    TimeSpan m_now = 0;
    std::uint64_t m_asked = 0;
    std::uint64_t m_steps = 0;
    std::vector<Event> m_events;
    std::vector<char> m_isAlive;
};

// The rig's clocks: the monotonic one is the world's time, the other is set by persons, by sleep and by time servers.
class CRigClock final : public IClock {
  public:
    explicit CRigClock(const CKernel& kernel) : m_kernel(kernel) {}
    ddt_datetime UtcNow() const noexcept override { return {m_utcAtStart + m_kernel.Now()}; }
    // Not 0 at the beginning: 0 means "never" to some.
    TimeSpan Monotonic() const noexcept override { return kBoot + m_kernel.Now(); }
    void MoveUtc(TimeSpan span) { m_utcAtStart += span; }

  private:
    static constexpr TimeSpan kBoot = 1000 * kTicksPerSecond;

    const CKernel& m_kernel;
    std::int64_t m_utcAtStart = 132'000'000'000'000'000;
};
