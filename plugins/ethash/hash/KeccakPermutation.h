#pragma once
#include <cstdint>

// Keccak-f[1600], written once for one state (Word = 64-bit integer) and for several side by side (Word = a vector of them).
// Always inlined, so that a caller compiled for a wider instruction set gets code for that set.

inline constexpr std::uint64_t kKeccakRoundConstants[24] = {
    0x0000000000000001, 0x0000000000008082, 0x800000000000808a, 0x8000000080008000, 0x000000000000808b, 0x0000000080000001,
    0x8000000080008081, 0x8000000000008009, 0x000000000000008a, 0x0000000000000088, 0x0000000080008009, 0x000000008000000a,
    0x000000008000808b, 0x800000000000008b, 0x8000000000008089, 0x8000000000008003, 0x8000000000008002, 0x8000000000000080,
    0x000000000000800a, 0x800000008000000a, 0x8000000080008081, 0x8000000000008080, 0x0000000080000001, 0x8000000080008008};

// One round from state a to state e, whose words are numbered x + 5 * y. Parity, rotation and the row step are fused per
// target row: the five words of a row come from one diagonal.
template <class Word>
[[gnu::always_inline]] inline void KeccakRound(const Word (&a)[25], Word (&e)[25], std::uint64_t constant) {
    const Word c0 = a[0] ^ a[5] ^ a[10] ^ a[15] ^ a[20];
    const Word c1 = a[1] ^ a[6] ^ a[11] ^ a[16] ^ a[21];
    const Word c2 = a[2] ^ a[7] ^ a[12] ^ a[17] ^ a[22];
    const Word c3 = a[3] ^ a[8] ^ a[13] ^ a[18] ^ a[23];
    const Word c4 = a[4] ^ a[9] ^ a[14] ^ a[19] ^ a[24];
    const Word d0 = c4 ^ ((c1 << 1) | (c1 >> 63));
    const Word d1 = c0 ^ ((c2 << 1) | (c2 >> 63));
    const Word d2 = c1 ^ ((c3 << 1) | (c3 >> 63));
    const Word d3 = c2 ^ ((c4 << 1) | (c4 >> 63));
    const Word d4 = c3 ^ ((c0 << 1) | (c0 >> 63));

#define QV_ROTATED(word, parity, count) ((((word) ^ (parity)) << (count)) | (((word) ^ (parity)) >> (64 - (count))))
#define QV_ROW(row, w0, w1, w2, w3, w4)             \
    do {                                            \
        const Word b0 = (w0), b1 = (w1), b2 = (w2); \
        const Word b3 = (w3), b4 = (w4);            \
        e[5 * (row) + 0] = b0 ^ (~b1 & b2);         \
        e[5 * (row) + 1] = b1 ^ (~b2 & b3);         \
        e[5 * (row) + 2] = b2 ^ (~b3 & b4);         \
        e[5 * (row) + 3] = b3 ^ (~b4 & b0);         \
        e[5 * (row) + 4] = b4 ^ (~b0 & b1);         \
    } while (false)

    QV_ROW(0, a[0] ^ d0, QV_ROTATED(a[6], d1, 44), QV_ROTATED(a[12], d2, 43), QV_ROTATED(a[18], d3, 21),
           QV_ROTATED(a[24], d4, 14));
    e[0] ^= constant;
    QV_ROW(1, QV_ROTATED(a[3], d3, 28), QV_ROTATED(a[9], d4, 20), QV_ROTATED(a[10], d0, 3), QV_ROTATED(a[16], d1, 45),
           QV_ROTATED(a[22], d2, 61));
    QV_ROW(2, QV_ROTATED(a[1], d1, 1), QV_ROTATED(a[7], d2, 6), QV_ROTATED(a[13], d3, 25), QV_ROTATED(a[19], d4, 8),
           QV_ROTATED(a[20], d0, 18));
    QV_ROW(3, QV_ROTATED(a[4], d4, 27), QV_ROTATED(a[5], d0, 36), QV_ROTATED(a[11], d1, 10), QV_ROTATED(a[17], d2, 15),
           QV_ROTATED(a[23], d3, 56));
    QV_ROW(4, QV_ROTATED(a[2], d2, 62), QV_ROTATED(a[8], d3, 55), QV_ROTATED(a[14], d4, 39), QV_ROTATED(a[15], d0, 41),
           QV_ROTATED(a[21], d1, 2));
#undef QV_ROW
#undef QV_ROTATED
}

template <class Word>
[[gnu::always_inline]] inline void KeccakPermute(Word (&state)[25]) {
    Word other[25];
    for (int round = 0; round < 24; round += 2) {
        KeccakRound(state, other, kKeccakRoundConstants[round]);
        KeccakRound(other, state, kKeccakRoundConstants[round + 1]);
    }
}
