#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>
#include "common/Time.h"

enum class SensorState : std::uint32_t {
    Answering,
    Silent,  // a call has not returned for longer than a read may take
    Lost,    // every call returns an error
};

// Whether a card's sensors can be read, and since when (IClock::Monotonic).
struct GpuSensors {
    SensorState state = SensorState::Answering;
    TimeSpan since = 0;
};

// Decides which card is read next and what its answers mean. Each card has one read under way at most. A read that takes too
// long is given up: its card is left alone until that read ends after all, while the others go on. Pure; one thread at a
// time.
class CSensorWatch {
  public:
    static constexpr TimeSpan kDeadline = 10 * kTicksPerSecond;
    static constexpr std::uint32_t kFailuresUntilLost = 3;

    struct Read {
        std::size_t card = 0;
        bool findAnew = false;       // its handle may be no longer good
        bool restartDriver = false;  // before that: no card answers at all
    };
    // For the caller to report.
    struct Change {
        std::size_t card = 0;
        SensorState state = SensorState::Answering;
    };

    CSensorWatch(std::size_t cards, TimeSpan now) : m_cards(cards, Card{.sensors = {.since = now}}) {}

    // Each card is due once more, in the order of the list.
    void StartRound();
    // The read that is to be made now; nothing: the round is over.
    std::optional<Read> Begin(TimeSpan now);
    // A read ended, even if it had been given up. answered: one of its calls succeeded.
    std::optional<Change> End(std::size_t card, bool answered, TimeSpan now);
    // Gives up the read that was begun last if it takes too long.
    std::optional<Change> GiveUpOverdue(TimeSpan now);

    GpuSensors State(std::size_t card) const { return m_cards.at(card).sensors; }

  private:
    struct Card {
        GpuSensors sensors;
        std::uint32_t failures = 0;
    };
    struct Pending {
        std::size_t card = 0;
        TimeSpan begun = 0;
    };

    std::optional<Change> Enter(std::size_t card, SensorState state, TimeSpan now);

    std::vector<Card> m_cards;
    std::size_t m_next = 0;            // of the round; the number of cards: it is over
    bool m_restartDriver = false;      // with the first read of this round
    std::optional<Pending> m_pending;  // begun and not given up
};
