#pragma once
#include <mutex>
#include <optional>
#include <vector>
#include "config/PoolError.h"

// The trouble that lasts now, of all sessions, for those who come and ask. Any thread.
class CTroubleBoard {
  public:
    void Add(const PoolError& error);
    // The one that was added with this code, GPU and text.
    void Remove(const PoolError& error);
    // Why mining was stopped by itself; lasts until it is started again.
    void SetStopped(const PoolError& error);
    // What had been set.
    std::optional<PoolError> ClearStopped();
    std::vector<PoolError> Lasting() const;

  private:
    mutable std::mutex m_lock;
    std::vector<PoolError> m_errors;
    std::optional<PoolError> m_stopped;
};
