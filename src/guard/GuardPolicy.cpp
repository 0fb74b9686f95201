#include "guard/GuardPolicy.h"

#include <algorithm>
#include <iterator>

void CGuardPolicy::Started(TimeSpan now) {
    m_started = now;
    m_lastAnswer = now;
    m_hadWindow = false;
}

bool CGuardPolicy::IsHung(MinerAnswer answer, TimeSpan now) {
    if (answer != MinerAnswer::NoWindow) m_hadWindow = true;
    const bool starting = answer == MinerAnswer::NoWindow && !m_hadWindow && now - m_started < m_times.startUp;
    if (answer == MinerAnswer::Answers || starting) m_lastAnswer = now;
    return now - m_lastAnswer >= m_times.silence;
}

GuardDecision CGuardPolicy::Ended(bool closed, TimeSpan now) {
    if (closed) return {};
    if (now - m_started >= m_times.hour) {
        m_pause = 0;
        m_restarts.clear();
    }
    std::erase_if(m_restarts, [&](TimeSpan time) { return now - time >= m_times.hour; });
    if (m_restarts.size() >= m_times.mostRestarts) return {.step = GuardStep::GiveUp, .restarts = m_restarts.size()};
    const TimeSpan pause = m_times.pauses[m_pause];
    m_pause = std::min(m_pause + 1, std::size(m_times.pauses) - 1);
    m_restarts.push_back(now);
    return {GuardStep::Restart, pause, m_restarts.size()};
}
