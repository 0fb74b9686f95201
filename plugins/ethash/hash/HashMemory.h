#pragma once
#include <cstddef>
#include <cstdint>

// A range of memory for random reads: of large pages where the system gives them, because most of such a read is the
// look-up of its page; else of normal ones, which nobody needs to know. Begins at a cache line; its content is undefined.
class CHashMemory {
  public:
    // Throws std::bad_alloc.
    explicit CHashMemory(std::size_t bytes);
    ~CHashMemory();
    CHashMemory(const CHashMemory&) = delete;
    CHashMemory& operator=(const CHashMemory&) = delete;

    void* Data() const { return m_data; }

  private:
    static constexpr std::size_t kCacheLine = 64;
    void* m_data = nullptr;
    std::size_t m_alignment = kCacheLine;
};

// The machine's physical memory, in bytes; zeros when the system does not say.
struct PhysicalMemory {
    std::uint64_t total = 0;
    std::uint64_t free = 0;
};
PhysicalMemory MachineMemory();
