#pragma once
#include <cstdint>
#include <mutex>
#include <string>
#include "common/Time.h"
#include "quorvel/plugin.h"

// The error of one pool reply. Narrow text as received, always terminated.
struct PoolError {
    std::int32_t code = 0;       // 0: no error
    ddt_datetime time;           // UTC; unset: no error
    std::int32_t gpuIndex = -1;  // CUDA id of the GPU whose share it answers; -1 none
    char text[512] = {};
};

inline constexpr std::uint32_t kUnassignedPoolId = 0xFFFFFFFFu;

// The last error of a pool: the one part of a published pool that changes. Own lock; any thread.
class CPoolLastError {
  public:
    CPoolLastError() = default;
    CPoolLastError(const CPoolLastError& other) : m_error(other.Get()) {}
    CPoolLastError& operator=(const CPoolLastError& other) {
        Set(other.Get());
        return *this;
    }
    PoolError Get() const {
        const std::lock_guard lock(m_mutex);
        return m_error;
    }
    void Set(const PoolError& error) {
        const std::lock_guard lock(m_mutex);
        m_error = error;
    }

  private:
    mutable std::mutex m_mutex;
    PoolError m_error;
};

// One pool. Immutable once it is part of a published configuration, but for its last error. The first eight fields persist.
struct PoolEntry {
    std::uint32_t ID = kUnassignedPoolId;
    wchar_t Name[64] = {};
    wchar_t Server[260] = {};
    std::uint32_t Port = 8080;
    wchar_t WalletUser[260] = {};
    wchar_t Password[64] = {};
    wchar_t WorkerOverride[32] = {};
    std::int32_t Algo = 0;
    const QvDescriptor* algorithm = nullptr;  // resolved from Algo when the pool is added; lives as long as the program
    mutable CPoolLastError lastError;

    bool IsUnassigned() const { return ID == kUnassignedPoolId; }
};

// Which pool a session mines on: the user's or the developer's.
enum class PoolRole : std::int32_t { Primary = 0, Fee = 1, Backup = 2, FeeBackup = 3 };
