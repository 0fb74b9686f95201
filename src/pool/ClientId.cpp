#include "pool/ClientId.h"
#include <random>

std::wstring MakeClientId(std::uint32_t seed) {
    static constexpr wchar_t kDigits[] = L"0123456789abcdef";
    constexpr int kDraws = 4;
    std::mt19937_64 generator(seed);
    std::uniform_int_distribution<std::uint64_t> wholeRange;
    std::wstring id = L"0x";
    for (int draw = 0; draw < kDraws; ++draw) {
        std::uint64_t value = wholeRange(generator);
        for (std::size_t byte = 0; byte < sizeof value; ++byte, value >>= 8) {
            id += kDigits[value >> 4 & 0xF];
            id += kDigits[value & 0xF];
        }
    }
    return id;
}

std::wstring MakeClientId() {
    return MakeClientId(std::random_device()());
}
