#pragma once
#include <windows.h>

#include <utility>

// Owner of a kernel object's handle. Windows only. INVALID_HANDLE_VALUE counts as none, so a failed CreateFileW fits.
class CHandle {
  public:
    CHandle() = default;
    explicit CHandle(HANDLE handle) : m_handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    CHandle(CHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    CHandle& operator=(CHandle&& other) noexcept {
        Close();
        m_handle = std::exchange(other.m_handle, nullptr);
        return *this;
    }
    ~CHandle() { Close(); }

    explicit operator bool() const { return m_handle != nullptr; }
    HANDLE Get() const { return m_handle; }
    void Close() {
        if (m_handle != nullptr) CloseHandle(std::exchange(m_handle, nullptr));
    }

  private:
    HANDLE m_handle = nullptr;
};
