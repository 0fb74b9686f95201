#pragma once
#include <cstddef>
#include <string>

// What of a file did not make it into memory. One load, one thread.
class CLoadReport {
  public:
    void Dropped(const std::wstring& what);
    bool IsEmpty() const { return m_count == 0; }
    // The first few of them, separated by semicolons, and how many more there are.
    std::wstring Text() const;

  private:
    std::wstring m_named;
    std::size_t m_count = 0;
};
