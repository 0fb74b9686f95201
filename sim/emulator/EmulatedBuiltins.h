#pragma once
#include <atomic>
#include <cstddef>
#include <source_location>

// The emulator's side of DeviceBuiltins.h, which includes this inside of its own definitions. Only for programs that
// RunEmulatedGrid runs.

#define QV_DEVICE static inline
#define QV_KERNEL(threads, minBlocks) static void
#define QV_SHARED static thread_local
#define QV_CONSTANT static const
#define QV_UNROLL
#define QV_UNROLL_BY_1

unsigned ThreadInBlock();
unsigned ThreadsPerBlock();
unsigned BlockInGrid();
unsigned BlocksInGrid();
void SynchronizeBlock();

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

inline unsigned WholeWarp(const std::source_location& where = std::source_location::current()) {
    ExchangeInWarp(0, 0, where);
    return 0xffffffff;
}

inline void SynchronizeWarp(unsigned, const std::source_location& where = std::source_location::current()) {
    ExchangeInWarp(0, 0, where);
}

inline unsigned AtomicAdd(unsigned* word, unsigned value) {
    return std::atomic_ref(*word).fetch_add(value);
}

inline void FenceDevice() {
    std::atomic_thread_fence(std::memory_order_seq_cst);
}

inline void FenceSystem() {
    std::atomic_thread_fence(std::memory_order_seq_cst);
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
