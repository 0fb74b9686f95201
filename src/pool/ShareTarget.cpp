#include "pool/ShareTarget.h"
#include <algorithm>
#include <array>

namespace {

constexpr double kDifficultyOne = 4294901760.0;  // 0xFFFF0000
constexpr double kTwoTo32 = 4294967296.0;
constexpr double kTwoTo64 = kTwoTo32 * kTwoTo32;
constexpr std::size_t kTopWord = 6;  // of the low half of the quotient, for difficulties up to 1

void StoreBigEndian(const std::array<std::uint32_t, 8>& words, TargetBytes target) {
    for (std::size_t byte = 0; byte < target.size(); ++byte) {
        const std::uint32_t word = words[7 - byte / 4];
        target[byte] = static_cast<std::uint8_t>(word >> (24 - 8 * (byte % 4)));
    }
}

}  // namespace

void DifficultyToTarget(double difficulty, TargetBytes target) {
    std::size_t k = kTopWord;
    while (k > 0 && difficulty > 1.0) {
        --k;
        difficulty /= kTwoTo32;
    }
    const double quotient = kDifficultyOne / difficulty;
    // Only for the top word: below it, difficulty is at least 2^-32. Converting such a quotient would be undefined.
    if (!(quotient < kTwoTo64)) {
        std::fill(target.begin(), target.end(), std::uint8_t{0xFF});
        return;
    }
    const auto q = static_cast<std::uint64_t>(quotient);
    std::array<std::uint32_t, 8> words = {};
    words[k] = static_cast<std::uint32_t>(q);
    words[k + 1] = static_cast<std::uint32_t>(q >> 32);
    StoreBigEndian(words, target);
}
