#include "ethash/hash/Keccak.h"

#include <bit>
#include <cstddef>
#include <cstring>

#include "ethash/hash/KeccakPermutation.h"

static_assert(std::endian::native == std::endian::little, "states and words are copied as they stand");

namespace {

// With an and-not of three operands and rotations that leave their source alone.
__attribute__((target("bmi,bmi2"))) void PermuteBmi(std::uint64_t (&state)[25]) noexcept {
    KeccakPermute(state);
}

void PermuteBaseline(std::uint64_t (&state)[25]) noexcept {
    KeccakPermute(state);
}

void Permute(std::uint64_t (&state)[25]) noexcept {
    // Asked each time: a branch that is always predicted.
    if (__builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2")) {
        PermuteBmi(state);
    } else {
        PermuteBaseline(state);
    }
}

void Absorb(std::uint64_t (&state)[25], const std::uint8_t* block, std::size_t rate) noexcept {
    for (std::size_t i = 0; i < rate / 8; ++i) {
        std::uint64_t word;
        std::memcpy(&word, block + 8 * i, 8);
        state[i] ^= word;
    }
    Permute(state);
}

template <std::size_t kDigestBytes>
std::array<std::uint8_t, kDigestBytes> Digest(std::span<const std::uint8_t> data) {
    constexpr std::size_t kRate = 200 - 2 * kDigestBytes;
    std::uint64_t state[25] = {};
    for (; data.size() >= kRate; data = data.subspan(kRate))
        Absorb(state, data.data(), kRate);
    std::uint8_t last[kRate] = {};
    if (!data.empty()) std::memcpy(last, data.data(), data.size());
    last[data.size()] = 0x01;
    last[kRate - 1] |= 0x80;
    Absorb(state, last, kRate);
    std::array<std::uint8_t, kDigestBytes> digest;
    std::memcpy(digest.data(), state, kDigestBytes);
    return digest;
}

}  // namespace

std::array<std::uint8_t, 32> Keccak256(std::span<const std::uint8_t> data) {
    return Digest<32>(data);
}

std::array<std::uint8_t, 64> Keccak512(std::span<const std::uint8_t> data) {
    return Digest<64>(data);
}

void Keccak512InPlace(std::uint32_t* words) noexcept {
    std::uint64_t state[25] = {};
    std::memcpy(state, words, 64);
    state[8] = 0x8000000000000001;  // both padding bits fall into the one word left of the rate
    Permute(state);
    std::memcpy(words, state, 64);
}
