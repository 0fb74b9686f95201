#include "world/Kernel.h"
#include <algorithm>

bool CKernel::Step(TimeSpan end) {
    while (!m_events.empty() && m_events.front().moment <= end) {
        std::pop_heap(m_events.begin(), m_events.end(), IsLater);
        Event event = std::move(m_events.back());
        m_events.pop_back();
        m_now = event.moment;
        if (m_isAlive[event.owner] == 0) continue;
        ++m_steps;
        event.action();
        return true;
    }
    m_now = end;
    return false;
}
