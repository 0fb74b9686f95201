#include "mining/TroubleBoard.h"
#include <algorithm>
#include <string_view>
#include <utility>

void CTroubleBoard::Add(const PoolError& error) {
    const std::lock_guard lock(m_lock);
    m_errors.push_back(error);
}

void CTroubleBoard::Remove(const PoolError& error) {
    const std::lock_guard lock(m_lock);
    const auto found = std::find_if(m_errors.begin(), m_errors.end(), [&](const PoolError& known) {
        return known.code == error.code && known.gpuIndex == error.gpuIndex && std::string_view(known.text) == error.text;
    });
    if (found != m_errors.end()) m_errors.erase(found);
}

void CTroubleBoard::SetStopped(const PoolError& error) {
    const std::lock_guard lock(m_lock);
    m_stopped = error;
}

std::optional<PoolError> CTroubleBoard::ClearStopped() {
    const std::lock_guard lock(m_lock);
    return std::exchange(m_stopped, std::nullopt);
}

std::vector<PoolError> CTroubleBoard::Lasting() const {
    const std::lock_guard lock(m_lock);
    std::vector<PoolError> errors = m_errors;
    if (m_stopped) errors.push_back(*m_stopped);
    return errors;
}
