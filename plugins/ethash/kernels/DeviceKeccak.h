#pragma once
#include "DeviceBuiltins.h"

// Keccak-f[1600] in registers: words numbered x + 5 * y, every index known to the compiler. The rounds stay a loop, because
// unrolled they would crowd the instruction cache; the last one is apart, so that a caller who uses but a few words of the
// result pays only for those.

QV_CONSTANT unsigned long long kRoundConstants[24] = {
    0x0000000000000001, 0x0000000000008082, 0x800000000000808a, 0x8000000080008000, 0x000000000000808b, 0x0000000080000001,
    0x8000000080008081, 0x8000000000008009, 0x000000000000008a, 0x0000000000000088, 0x0000000080008009, 0x000000008000000a,
    0x000000008000808b, 0x800000000000008b, 0x8000000000008089, 0x8000000000008003, 0x8000000000008002, 0x8000000000000080,
    0x000000000000800a, 0x800000008000000a, 0x8000000080008081, 0x8000000000008080, 0x0000000080000001, 0x8000000080008008};

struct KeccakState {
    unsigned long long words[25];
};

// Theta: each word takes in the parities of two columns.
QV_DEVICE void MixColumns(unsigned long long (&a)[25]) {
    unsigned long long parity[5];
    QV_UNROLL for (unsigned x = 0; x < 5; ++x) parity[x] = a[x] ^ a[x + 5] ^ a[x + 10] ^ a[x + 15] ^ a[x + 20];
    QV_UNROLL for (unsigned x = 0; x < 5; ++x) {
        const unsigned long long change = parity[(x + 4) % 5] ^ RotateLeft<1>(parity[(x + 1) % 5]);
        QV_UNROLL for (unsigned y = 0; y < 25; y += 5) a[x + y] ^= change;
    }
}

// Rho and pi: b[y + 5 * ((2x + 3y) % 5)] is a[x + 5y], rotated.
QV_DEVICE void RotateAndMove(const unsigned long long (&a)[25], unsigned long long (&b)[25]) {
    b[0] = a[0], b[1] = RotateLeft<44>(a[6]), b[2] = RotateLeft<43>(a[12]);
    b[3] = RotateLeft<21>(a[18]), b[4] = RotateLeft<14>(a[24]);
    b[5] = RotateLeft<28>(a[3]), b[6] = RotateLeft<20>(a[9]), b[7] = RotateLeft<3>(a[10]);
    b[8] = RotateLeft<45>(a[16]), b[9] = RotateLeft<61>(a[22]);
    b[10] = RotateLeft<1>(a[1]), b[11] = RotateLeft<6>(a[7]), b[12] = RotateLeft<25>(a[13]);
    b[13] = RotateLeft<8>(a[19]), b[14] = RotateLeft<18>(a[20]);
    b[15] = RotateLeft<27>(a[4]), b[16] = RotateLeft<36>(a[5]), b[17] = RotateLeft<10>(a[11]);
    b[18] = RotateLeft<15>(a[17]), b[19] = RotateLeft<56>(a[23]);
    b[20] = RotateLeft<62>(a[2]), b[21] = RotateLeft<55>(a[8]), b[22] = RotateLeft<39>(a[14]);
    b[23] = RotateLeft<41>(a[15]), b[24] = RotateLeft<2>(a[21]);
}

QV_DEVICE void KeccakRound(KeccakState& state, unsigned long long constant) {
    auto& a = state.words;
    unsigned long long b[25];
    MixColumns(a);
    RotateAndMove(a, b);
    QV_UNROLL for (unsigned y = 0; y < 25; y += 5) {
        QV_UNROLL for (unsigned x = 0; x < 5; ++x) a[y + x] = b[y + x] ^ (~b[y + (x + 1) % 5] & b[y + (x + 2) % 5]);
    }
    a[0] ^= constant;
}

QV_DEVICE void KeccakPermute(KeccakState& state) {
    QV_UNROLL_BY_1 for (unsigned round = 0; round < 23; ++round) KeccakRound(state, kRoundConstants[round]);
    KeccakRound(state, 0x8000000080008008);
}
