#include "ToyHash.h"

namespace {

std::uint64_t WithByte(std::uint64_t state, std::uint8_t byte) {
    return (state ^ byte) * 0x100000001b3;
}

std::uint64_t Mixed(std::uint64_t word) {
    word = (word ^ (word >> 30)) * 0xbf58476d1ce4e5b9;
    word = (word ^ (word >> 27)) * 0x94d049bb133111eb;
    return word ^ (word >> 31);
}

}  // namespace

EthashResult ToyHash(const Hash256& header, std::uint64_t nonce) {
    std::uint64_t state = 0xcbf29ce484222325;
    for (const std::uint8_t byte : header)
        state = WithByte(state, byte);
    for (unsigned shift = 64; shift != 0; shift -= 8)
        state = WithByte(state, static_cast<std::uint8_t>(nonce >> (shift - 8)));
    EthashResult result{};
    for (std::size_t i = 0; i < result.final.size(); ++i) {
        if (i % 8 == 0) state += 0x9e3779b97f4a7c15;
        result.final[i] = static_cast<std::uint8_t>(Mixed(state) >> (56 - 8 * (i % 8)));
    }
    result.mix = result.final;
    return result;
}
