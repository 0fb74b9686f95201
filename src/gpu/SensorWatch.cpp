#include "gpu/SensorWatch.h"

#include <algorithm>
#include <utility>

void CSensorWatch::StartRound() {
    m_next = 0;
    m_restartDriver = std::ranges::all_of(m_cards, [](const Card& card) { return card.sensors.state == SensorState::Lost; });
}

std::optional<CSensorWatch::Read> CSensorWatch::Begin(TimeSpan now) {
    while (m_next < m_cards.size()) {
        const std::size_t card = m_next++;
        const SensorState state = m_cards[card].sensors.state;
        if (state == SensorState::Silent) continue;
        m_pending = {card, now};
        return Read{card, state == SensorState::Lost, std::exchange(m_restartDriver, false)};
    }
    return std::nullopt;
}

std::optional<CSensorWatch::Change> CSensorWatch::End(std::size_t card, bool answered, TimeSpan now) {
    Card& entry = m_cards.at(card);
    const bool wasGivenUp = entry.sensors.state == SensorState::Silent;
    if (!wasGivenUp) m_pending.reset();
    if (answered) {
        entry.failures = 0;
        return Enter(card, SensorState::Answering, now);
    }
    // One that comes back with errors after it hung is not doubted any longer.
    entry.failures = wasGivenUp ? kFailuresUntilLost : std::min(entry.failures + 1, kFailuresUntilLost);
    return entry.failures == kFailuresUntilLost ? Enter(card, SensorState::Lost, now) : std::nullopt;
}

std::optional<CSensorWatch::Change> CSensorWatch::GiveUpOverdue(TimeSpan now) {
    if (!m_pending || now - m_pending->begun <= kDeadline) return std::nullopt;
    const Pending given = *std::exchange(m_pending, std::nullopt);
    return Enter(given.card, SensorState::Silent, given.begun);
}

std::optional<CSensorWatch::Change> CSensorWatch::Enter(std::size_t card, SensorState state, TimeSpan now) {
    GpuSensors& sensors = m_cards[card].sensors;
    if (sensors.state == state) return std::nullopt;
    sensors = {state, now};
    return Change{card, state};
}
