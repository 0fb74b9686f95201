#include "pool/WorkBlock.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <span>

#include "common/CodePage.h"
#include "common/SharedWord.h"

namespace {

constexpr rapidjson::SizeType kBranchParameter = 4;

void PointToBareJobId(StratumWorkBlock& block) {
    const char* bare = block.jobId;
    const bool isPrefixed = std::strncmp(bare, "0x", 2) == 0;
    if (isPrefixed) bare += 2;
    while (*bare == '0')
        ++bare;
    block.bareJobId = bare;
}

void SetPrefixFlag(StratumWorkBlock& block) {
    // The GUI thread reads it while it is written.
    WriteShared(block.prefixFlag, std::strstr(block.jobId, "0x") != nullptr);
}

template <std::size_t Slots, std::size_t Bytes>
void EmptySlots(char (&slots)[Slots][Bytes], std::size_t from) {
    for (; from < Slots; ++from)
        slots[from][0] = '\0';
}

// The texts among the elements [first, end) of a list, in order; the slots left over are emptied.
template <std::size_t Slots, std::size_t Bytes>
void FillSlots(const JsonValue& list, rapidjson::SizeType first, rapidjson::SizeType end, char (&slots)[Slots][Bytes]) {
    std::size_t used = 0;
    for (rapidjson::SizeType i = first; i < end && used < Slots; ++i) {
        if (list[i].IsString()) CopyToField(JsonText(list[i]), std::span<char>(slots[used++]));
    }
    EmptySlots(slots, used);
}

void FillBranches(const JsonValue& params, StratumWorkBlock& block) {
    if (params.Size() > kBranchParameter && params[kBranchParameter].IsArray()) {
        const JsonValue& branches = params[kBranchParameter];
        FillSlots(branches, 0, branches.Size(), block.branches);
    } else {
        EmptySlots(block.branches, 0);
    }
}

}  // namespace

void ClearWork(StratumWorkBlock& block) {
    block.jobId[0] = '\0';
    block.bareJobId = block.jobId;
    block.extranonce[0] = '\0';
    std::fill(std::begin(block.target), std::end(block.target), std::uint8_t{0});
    block.reserved1 = 0;
}

bool FillJob(const JsonValue* list, StratumWorkBlock& block) {
    if (list == nullptr || !list->IsArray() || list->Empty()) return false;
    const JsonValue& params = *list;
    if (params[0].IsString()) {
        CopyToField(JsonText(params[0]), std::span<char>(block.jobId));
    } else if (params[0].IsUint64()) {
        std::array<char, 20> digits;
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), params[0].GetUint64()).ptr;
        CopyToField(std::string_view(digits.data(), end), std::span<char>(block.jobId));
    } else {
        return false;
    }
    SetPrefixFlag(block);
    PointToBareJobId(block);
    FillSlots(params, 1, std::min<rapidjson::SizeType>(params.Size(), QV_PARAMETER_SLOTS), block.parameters);
    FillBranches(params, block);
    const JsonValue& last = params[params.Size() - 1];
    if (last.IsBool()) block.cleanJobs = last.IsTrue() ? 1 : 0;
    return true;
}

bool FillExtranonce(const JsonValue* value, StratumWorkBlock& block) {
    if (value == nullptr || !value->IsString()) return false;
    CopyToField(JsonText(*value), std::span<char>(block.extranonce));
    return true;
}

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
