// Compiled for the baseline: only the functions marked so use AVX2, and they run only where the processor has it.
// On Windows the compiler believes the stack to be aligned to 32 bytes where it is aligned to 16; this file is therefore
// assembled with unaligned vector moves (see CMakeLists.txt).
#include <cstring>

#include "ethash/hash/EthashItems.h"
#include "ethash/hash/ItemLockstep.h"
#include "ethash/hash/Keccak.h"
#include "ethash/hash/KeccakPermutation.h"

#define QV_AVX2 __attribute__((target("avx2")))

namespace {

constexpr std::size_t kSideBySide = 4;
typedef std::uint64_t Words4 __attribute__((vector_size(8 * kSideBySide)));

// Keccak-512 of four items in place.
QV_AVX2 void HashFour(EthashItem* items) {
    Words4 state[25] = {};
    std::uint64_t words[kSideBySide][8];
    std::memcpy(words, items, sizeof words);
    for (std::size_t i = 0; i < 8; ++i)
        state[i] = Words4{words[0][i], words[1][i], words[2][i], words[3][i]};
    constexpr std::uint64_t kPadding = 0x8000000000000001;
    state[8] = Words4{kPadding, kPadding, kPadding, kPadding};
    KeccakPermute(state);
    for (std::size_t i = 0; i < 8; ++i) {
        for (std::size_t lane = 0; lane < kSideBySide; ++lane)
            words[lane][i] = state[i][lane];
    }
    std::memcpy(items, words, sizeof words);
}

}  // namespace

bool HasAvx2() {
    return __builtin_cpu_supports("avx2") != 0;
}

QV_AVX2 void DatasetItemsAvx2(const CEthashCache& cache, std::span<const std::uint32_t> indices, EthashItem* items) {
    LockstepItems(cache, indices, items, [](EthashItem* all, std::size_t count) QV_AVX2 {
        std::size_t done = 0;
        for (; done + kSideBySide <= count; done += kSideBySide)
            HashFour(all + done);
        for (; done < count; ++done)
            Keccak512InPlace(all[done].words);
    });
}
