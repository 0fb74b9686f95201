#pragma once

// What the kernels need of the device's compiler, in place of a toolkit's headers: clang's attributes and intrinsics. With
// QV_EMULATED the same names come from the emulator, and the kernels are plain C++ that runs on the CPU.

struct alignas(16) Words4 {
    unsigned x, y, z, w;
};

#ifdef QV_EMULATED
#include "kernels/EmulatedBuiltins.h"
#else

#define QV_DEVICE __attribute__((device, always_inline)) static inline
#define QV_KERNEL(threads, minBlocks) \
    extern "C" __attribute__((global, launch_bounds(threads, minBlocks))) __attribute__((used)) void
#define QV_SHARED(type, name) __attribute__((shared)) static type name
#define QV_CONSTANT __attribute__((constant)) static const
#define QV_UNROLL _Pragma("unroll")
#define QV_UNROLL_BY_1 _Pragma("unroll 1")

QV_DEVICE unsigned ThreadInBlock() {
    return __nvvm_read_ptx_sreg_tid_x();
}

QV_DEVICE unsigned ThreadsPerBlock() {
    return __nvvm_read_ptx_sreg_ntid_x();
}

QV_DEVICE unsigned BlockInGrid() {
    return __nvvm_read_ptx_sreg_ctaid_x();
}

QV_DEVICE unsigned BlocksInGrid() {
    return __nvvm_read_ptx_sreg_nctaid_x();
}

// The upper 32 bits of the product.
QV_DEVICE unsigned MultiplyHigh(unsigned a, unsigned b) {
    return static_cast<unsigned>(__nvvm_mulhi_ui(a, b));
}

// All threads of the block arrive before any goes on.
QV_DEVICE void SynchronizeBlock() {
    __nvvm_bar_sync(0);
}

// The 32 lanes of the warp, as a number that the compiler does not know.
QV_DEVICE unsigned WholeWarp() {
    return __nvvm_vote_ballot_sync(0xffffffff, true);
}

// The whole warp arrives, and sees what its lanes have written to shared memory. The compiler moves no instructions across.
QV_DEVICE void SynchronizeWarp(unsigned wholeWarp) {
    __nvvm_bar_warp_sync(wholeWarp);
}

// The value that the given lane of the thread's group passes; groups are kWidth neighbouring lanes. All 32 lanes call it.
template <int kWidth>
QV_DEVICE unsigned ShuffleFrom(unsigned value, unsigned lane) {
    return static_cast<unsigned>(
        __nvvm_shfl_sync_idx_i32(0xffffffff, static_cast<int>(value), static_cast<int>(lane), ((32 - kWidth) << 8) | 0x1f));
}

// The value that the lane passes whose number differs in the bits of mask. All 32 lanes call it.
QV_DEVICE unsigned ShuffleXor(unsigned value, unsigned mask) {
    return static_cast<unsigned>(
        __nvvm_shfl_sync_bfly_i32(0xffffffff, static_cast<int>(value), static_cast<int>(mask), 0x1f));
}

// Returns the old value.
QV_DEVICE unsigned AtomicAdd(unsigned* word, unsigned value) {
    return static_cast<unsigned>(__nvvm_atom_add_gen_i(reinterpret_cast<int*>(word), static_cast<int>(value)));
}

// What the thread wrote or added before, all threads of the device see before what it writes or adds afterwards.
QV_DEVICE void FenceDevice() {
    __nvvm_membar_gl();
}

// A read of global memory that nothing writes while the grid runs.
QV_DEVICE Words4 LoadReadOnly(const Words4* address) {
    Words4 words;
    asm("{ .reg .u64 %%global; cvta.to.global.u64 %%global, %4; ld.global.nc.v4.u32 {%0, %1, %2, %3}, [%%global]; }"
        : "=r"(words.x), "=r"(words.y), "=r"(words.z), "=r"(words.w)
        : "l"(address));
    return words;
}

// The same, of the dataset: apart so that an emulator can fill it in on demand.
QV_DEVICE Words4 LoadDataset(const Words4* address) {
    return LoadReadOnly(address);
}

// By 1 to 63 bits: two funnel shifts.
template <unsigned kBits>
QV_DEVICE unsigned long long RotateLeft(unsigned long long word) {
    const unsigned low = static_cast<unsigned>(word);
    const unsigned high = static_cast<unsigned>(word >> 32);
    const unsigned first = kBits < 32 ? low : high;
    const unsigned second = kBits < 32 ? high : low;
    if (kBits == 32) return static_cast<unsigned long long>(low) << 32 | high;
    unsigned newLow, newHigh;
    asm("shf.l.wrap.b32 %0, %1, %2, %3;" : "=r"(newLow) : "r"(second), "r"(first), "n"(kBits % 32));
    asm("shf.l.wrap.b32 %0, %1, %2, %3;" : "=r"(newHigh) : "r"(first), "r"(second), "n"(kBits % 32));
    return static_cast<unsigned long long>(newHigh) << 32 | newLow;
}

#endif
