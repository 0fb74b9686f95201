#pragma once
#include <atomic>
#include <cstddef>
#include <source_location>

// The emulator's side of DeviceBuiltins.h, which includes this inside of its own definitions. Only for programs that
// RunEmulatedGrid runs.

#define QV_DEVICE static inline
#define QV_KERNEL(threads, minBlocks) static void
#define QV_SHARED(type, name) auto& name = *static_cast<type*>(SharedMemory(__LINE__, sizeof(type)))
#define QV_CONSTANT static const
#define QV_UNROLL
#define QV_UNROLL_BY_1

unsigned ThreadInBlock();
unsigned ThreadsPerBlock();
unsigned BlockInGrid();
unsigned BlocksInGrid();
void SynchronizeBlock();

// The block's memory for the variable that is declared in that line.
void* SharedMemory(unsigned line, std::size_t bytes);

// Gives value to the warp, waits until all lanes have come to the same line, and returns what the given lane gave.
unsigned ExchangeInWarp(unsigned value, unsigned lane, const std::source_location& where);

// Calls the hook of the grid, if it has one.
void BeforeDatasetRead(const void* address, std::size_t bytes);

template <int kWidth>
unsigned ShuffleFrom(unsigned value, unsigned lane, const std::source_location& where = std::source_location::current()) {
    constexpr unsigned kInGroup = kWidth - 1;
    return ExchangeInWarp(value, (ThreadInBlock() % 32 & ~kInGroup) | (lane & kInGroup), where);
}

inline unsigned ShuffleXor(unsigned value, unsigned mask,
                           const std::source_location& where = std::source_location::current()) {
    return ExchangeInWarp(value, (ThreadInBlock() ^ mask) % 32, where);
}

inline unsigned MultiplyHigh(unsigned a, unsigned b) {
    return static_cast<unsigned>(static_cast<unsigned long long>(a) * b >> 32);
}

// Asks without waiting: what a lane sees of the others' memory afterwards is what the order of turns gives.
inline unsigned WholeWarp() {
    return 0xffffffff;
}

inline void SynchronizeWarp(unsigned, const std::source_location& where = std::source_location::current()) {
    ExchangeInWarp(0, 0, where);
}

// What the running thread has still to add comes about.
void FenceDevice();
// Adds at the thread's next fence or barrier, or when the grid ends.
void AddLater(unsigned* word, unsigned value);

// An addition: at once for those who ask for the old value, later when nobody does.
class CAtomicAddition {
  public:
    CAtomicAddition(unsigned* word, unsigned value) : m_word(word), m_value(value) {}
    CAtomicAddition(const CAtomicAddition&) = delete;
    CAtomicAddition& operator=(const CAtomicAddition&) = delete;
    ~CAtomicAddition() {
        if (!m_done) AddLater(m_word, m_value);
    }
    operator unsigned() {
        m_done = true;
        return std::atomic_ref(*m_word).fetch_add(m_value);
    }

  private:
    unsigned* const m_word;
    const unsigned m_value;
    bool m_done = false;
};

inline CAtomicAddition AtomicAdd(unsigned* word, unsigned value) {
    return {word, value};
}

inline Words4 LoadReadOnly(const Words4* address) {
    return *address;
}

inline Words4 LoadDataset(const Words4* address) {
    BeforeDatasetRead(address, sizeof *address);
    return *address;
}

template <unsigned kBits>
unsigned long long RotateLeft(unsigned long long word) {
    return word << kBits | word >> (64 - kBits);
}
