#include "ethash/hash/Blake2b.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

namespace {

constexpr std::size_t kBlockBytes = 128;

constexpr std::uint64_t kInitial[8] = {0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b, 0xa54ff53a5f1d36f1,
                                       0x510e527fade682d1, 0x9b05688c2b3e6c1f, 0x1f83d9abfb41bd6b, 0x5be0cd19137e2179};

constexpr std::uint8_t kSchedule[12][16] = {
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {14, 10, 4, 8, 9, 15, 13, 6, 1, 12, 0, 2, 11, 7, 5, 3},
    {11, 8, 12, 0, 5, 2, 15, 13, 10, 14, 3, 6, 7, 1, 9, 4}, {7, 9, 3, 1, 13, 12, 11, 14, 2, 6, 5, 10, 4, 0, 15, 8},
    {9, 0, 5, 7, 2, 4, 10, 15, 14, 1, 11, 12, 6, 8, 3, 13}, {2, 12, 6, 10, 0, 11, 8, 3, 4, 13, 7, 5, 15, 14, 1, 9},
    {12, 5, 1, 15, 14, 13, 4, 10, 0, 7, 6, 3, 9, 2, 8, 11}, {13, 11, 7, 14, 12, 1, 3, 9, 5, 0, 15, 4, 8, 6, 2, 10},
    {6, 15, 14, 9, 11, 3, 0, 8, 12, 2, 13, 7, 1, 4, 10, 5}, {10, 2, 8, 4, 7, 6, 1, 5, 15, 11, 9, 14, 3, 12, 13, 0},
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {14, 10, 4, 8, 9, 15, 13, 6, 1, 12, 0, 2, 11, 7, 5, 3}};

void Mix(std::uint64_t& a, std::uint64_t& b, std::uint64_t& c, std::uint64_t& d, std::uint64_t x, std::uint64_t y) noexcept {
    a += b + x;
    d = std::rotr(d ^ a, 32);
    c += d;
    b = std::rotr(b ^ c, 24);
    a += b + y;
    d = std::rotr(d ^ a, 16);
    c += d;
    b = std::rotr(b ^ c, 63);
}

void Compress(std::uint64_t (&h)[8], const std::uint8_t* block, std::uint64_t bytesSoFar, bool last) noexcept {
    std::uint64_t m[16];
    std::memcpy(m, block, sizeof m);
    std::uint64_t v[16];
    std::copy_n(h, 8, v);
    std::copy_n(kInitial, 8, v + 8);
    v[12] ^= bytesSoFar;
    if (last) v[14] = ~v[14];
    for (const auto& s : kSchedule) {
        Mix(v[0], v[4], v[8], v[12], m[s[0]], m[s[1]]);
        Mix(v[1], v[5], v[9], v[13], m[s[2]], m[s[3]]);
        Mix(v[2], v[6], v[10], v[14], m[s[4]], m[s[5]]);
        Mix(v[3], v[7], v[11], v[15], m[s[6]], m[s[7]]);
        Mix(v[0], v[5], v[10], v[15], m[s[8]], m[s[9]]);
        Mix(v[1], v[6], v[11], v[12], m[s[10]], m[s[11]]);
        Mix(v[2], v[7], v[8], v[13], m[s[12]], m[s[13]]);
        Mix(v[3], v[4], v[9], v[14], m[s[14]], m[s[15]]);
    }
    for (int i = 0; i < 8; ++i)
        h[i] ^= v[i] ^ v[i + 8];
}

}  // namespace

std::array<std::uint8_t, 64> Blake2b512(std::span<const std::uint8_t> data) {
    std::uint64_t h[8];
    std::copy_n(kInitial, 8, h);
    h[0] ^= 0x01010000 ^ 64;  // one lane, no key, 64 bytes out
    std::uint64_t count = 0;
    for (; data.size() > kBlockBytes; data = data.subspan(kBlockBytes)) {
        count += kBlockBytes;
        Compress(h, data.data(), count, false);
    }
    std::uint8_t last[kBlockBytes] = {};
    if (!data.empty()) std::memcpy(last, data.data(), data.size());
    Compress(h, last, count + data.size(), true);
    std::array<std::uint8_t, 64> digest;
    std::memcpy(digest.data(), h, sizeof digest);
    return digest;
}
