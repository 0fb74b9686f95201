#include "ethash/job/EthashJob.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>

namespace {

template <std::size_t kSize>
std::string_view SlotText(const char (&slot)[kSize]) {
    return {slot, static_cast<std::size_t>(std::find(slot, slot + kSize, '\0') - slot)};
}

std::string_view WithoutPrefix(std::string_view digits) {
    const bool prefixed = digits.starts_with("0x") || digits.starts_with("0X");
    return prefixed ? digits.substr(2) : digits;
}

std::optional<std::uint8_t> DigitValue(char digit) {
    if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
    if (digit >= 'a' && digit <= 'f') return static_cast<std::uint8_t>(digit - 'a' + 10);
    if (digit >= 'A' && digit <= 'F') return static_cast<std::uint8_t>(digit - 'A' + 10);
    return std::nullopt;
}

// A number of 1 to 64 digits, filled up with zeros on the left.
bool ReadNumber(std::string_view text, Hash256& number) {
    const std::string_view digits = WithoutPrefix(text);
    if (digits.empty() || digits.size() > 2 * number.size()) return false;
    number = {};
    std::size_t nibble = 2 * number.size() - digits.size();
    for (const char digit : digits) {
        const auto value = DigitValue(digit);
        if (!value) return false;
        number[nibble / 2] = static_cast<std::uint8_t>(number[nibble / 2] | (*value << (nibble % 2 == 0 ? 4 : 0)));
        ++nibble;
    }
    return true;
}

bool ReadHash(std::string_view text, Hash256& hash) {
    return WithoutPrefix(text).size() == 2 * hash.size() && ReadNumber(text, hash);
}

// Up to 7 bytes: at least one must be left to search.
bool ReadExtranonce(std::string_view text, NonceSpace& nonces) {
    const std::string_view digits = WithoutPrefix(text);
    if (digits.size() % 2 != 0 || digits.size() > 14) return false;
    nonces = {};
    for (const char digit : digits) {
        const auto value = DigitValue(digit);
        if (!value) return false;
        nonces.freeBits -= 4;
        nonces.prefix |= std::uint64_t{*value} << nonces.freeBits;
    }
    return true;
}

// Where each dialect keeps its fields: indices into the parameters, -1 for the job id.
struct FieldPlaces {
    int header;
    int seed;
    int boundary;  // -1: the target comes from the difficulty
};
constexpr FieldPlaces kPlaces[] = {{-1, 0, 1}, {0, 1, 2}, {1, 0, -1}};

// What holds in the NiceHash dialect before any difficulty was sent.
constexpr Hash256 kTargetOfDifficulty1 = {0, 0, 0, 0, 0xff, 0xff, 0, 0};

const char* ReadFields(const StratumWorkBlock& block, EthashJob& job) {
    const FieldPlaces& places = kPlaces[static_cast<std::size_t>(job.dialect)];
    job.headerText = places.header < 0 ? job.jobId : std::string(SlotText(block.parameters[places.header]));
    if (!ReadHash(job.headerText, job.header)) return "the header is not 32 bytes";
    if (!ReadHash(SlotText(block.parameters[places.seed]), job.seed)) return "the seed is not 32 bytes";
    if (places.boundary >= 0) {
        const bool read = ReadNumber(SlotText(block.parameters[places.boundary]), job.target);
        return read ? nullptr : "the boundary is not a number of up to 32 bytes";
    }
    std::copy(std::begin(block.target), std::end(block.target), job.target.begin());
    if (job.target == Hash256{}) job.target = kTargetOfDifficulty1;
    if (!ReadExtranonce(SlotText(block.extranonce), job.nonces)) return "the extranonce is not 0 to 7 whole bytes";
    return nullptr;
}

}  // namespace

bool EthashJob::IsSameWork(const EthashJob& other) const {
    return dialect == other.dialect && jobId == other.jobId && headerText == other.headerText && header == other.header &&
           seed == other.seed && nonces == other.nonces;
}

ParsedJob ParseEthashJob(const StratumWorkBlock& block) {
    ParsedJob parsed;
    if (block.protocolMode == -1) return parsed;
    if (block.protocolMode < 0 || block.protocolMode >= static_cast<std::int32_t>(std::size(kPlaces))) {
        parsed.state = JobState::NotSpoken;
        return parsed;
    }
    parsed.job.dialect = static_cast<EthashDialect>(block.protocolMode);
    parsed.job.jobId = SlotText(block.jobId);
    if (parsed.job.jobId.empty()) return parsed;
    parsed.job.cleans = parsed.job.dialect == EthashDialect::EthProxy || block.cleanJobs != 0;
    const char* const problem = ReadFields(block, parsed.job);
    parsed.state = problem == nullptr ? JobState::Ready : JobState::Malformed;
    if (problem != nullptr) parsed.problem = problem;
    return parsed;
}
