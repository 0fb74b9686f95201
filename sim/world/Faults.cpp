#include "world/Faults.h"
#include <algorithm>
#include <sstream>
#include "world/Random.h"

namespace {

using enum FaultTarget;
constexpr std::int32_t kHour = 3600;

// In the order of FaultKind.
constexpr FaultTraits kTraits[] = {
    {"outage", None, 1.5, 5, 2 * kHour, 0},
    {"no-names", None, 1, 5, kHour, 30},
    {"half-open", Pool, 2, 0, 0, 0},
    {"reset", Pool, 6, 0, 0, 0},
    {"slow-network", None, 1, 60, 2 * kHour, 30},
    {"partial-lines", None, 1, 60, 2 * kHour, 0},
    {"black-hole", Pool, 1.5, 10, 2 * kHour, 20},
    {"one-address", Pool, 1, 60, 6 * kHour, 20},
    {"refuse", Pool, 1.5, 10, 2 * kHour, 0},
    {"accept-close", Pool, 1.5, 10, 2 * kHour, 0},
    {"untrusted", Pool, 1, 10, 2 * kHour, 0},
    {"maintenance", Pool, 1.5, 30, 4 * kHour, 0},
    {"login-refused", Pool, 1.5, 10, 2 * kHour, 0},
    {"login-silent", Pool, 1, 10, 2 * kHour, 60},
    {"no-job", Pool, 1, 10, 2 * kHour, 180},
    {"no-answers", Pool, 1, 60, 2 * kHour, 0},
    {"silent", Pool, 1, 60, 2 * kHour, 180},
    {"rejects", Pool, 1, 60, 2 * kHour, 0},
    {"wrong-answers", Pool, 1, 60, 2 * kHour, 0},
    {"double-answers", Pool, 1, 60, 2 * kHour, 0},
    {"flood", Pool, 1, 0, 0, 0},
    {"difficulty", Pool, 3, 0, 0, 0},
    {"extranonce", Pool, 3, 0, 0, 0},
    {"mode-change", Pool, 0.5, 0, 0, 60},
    {"invalid-user", Pool, 0.2, 0, 0, 0},
    {"hang", Card, 1, 10, kHour, 0},
    {"fall-off", Card, 1, 10, 6 * kHour, 0},
    {"slow-card", Card, 1, 60, 6 * kHour, 0},
    {"no-memory", Card, 0.5, 30, kHour, 0},
    {"stop-start", None, 3, 1, kHour, 0},
    {"edit", None, 2, 1, 300, 0},
    {"close", None, 1, 5, kHour, 0},
    {"sleep", None, 1.5, 0, 0, 0},
    {"set-clock", None, 2, 0, 0, 0},
    {"power-cut", None, 0.5, 20, kHour, 0},
    {"kill", None, 0.5, 2, 120, 0},
    {"busy-window", None, 1, 5, 600, 10},
    {"no-thread", None, 1, 5, 600, 30},
};
static_assert(std::size(kTraits) == kFaultKinds);

int TargetsOf(FaultTarget target) {
    return target == Pool ? kPools : target == Card ? kMostCards : 1;
}

}  // namespace

const FaultTraits& TraitsOf(FaultKind kind) {
    return kTraits[static_cast<std::size_t>(kind)];
}

std::optional<FaultKind> FaultNamed(std::string_view name) {
    const auto found = std::ranges::find(kTraits, name, &FaultTraits::name);
    if (found == std::end(kTraits)) return std::nullopt;
    return static_cast<FaultKind>(found - std::begin(kTraits));
}

std::vector<Fault> PlanFaults(std::uint64_t seed, TimeSpan length, const std::set<FaultKind>& without) {
    constexpr TimeSpan kWeek = 7 * kTicksPerDay;
    std::vector<Fault> faults;
    for (std::size_t i = 0; i < kFaultKinds; ++i) {
        const FaultTraits& traits = kTraits[i];
        const auto kind = static_cast<FaultKind>(i);
        if (without.contains(kind)) continue;
        // Each kind from a stream of its own: to switch one off changes nothing of the others.
        CRandom random(seed, traits.name);
        const int targets = TargetsOf(traits.target);
        const auto mean = static_cast<TimeSpan>(static_cast<double>(kWeek) / traits.perWeek);
        for (TimeSpan at = random.Waiting(mean); at < length; at += random.Waiting(mean)) {
            Fault fault{.at = at, .kind = kind};
            fault.target = static_cast<int>(random.Below(static_cast<std::uint64_t>(targets)));
            // Most are short: it is the moments of change that are hard.
            const std::int64_t most =
                random.Chance(0.6) ? std::min(traits.mostSeconds, 4 * traits.leastSeconds + 60) : traits.mostSeconds;
            if (traits.mostSeconds > 0)
                fault.lasts = random.Between(traits.leastSeconds * kTicksPerSecond, most * kTicksPerSecond);
            fault.value = static_cast<std::uint32_t>(random.Next());
            faults.push_back(fault);
            // Trouble rarely comes alone.
            if (random.Chance(0.3)) at += random.Between(kTicksPerSecond, 3 * kTicksPerMinute);
        }
    }
    std::ranges::stable_sort(faults, {}, &Fault::at);
    return faults;
}

std::string FaultLine(const Fault& fault) {
    const auto seconds = [](TimeSpan span) {
        std::string digits = std::to_string(span % kTicksPerSecond);
        digits.insert(0, 7 - digits.size(), '0');
        return std::to_string(span / kTicksPerSecond) + "." + digits;
    };
    return "fault " + seconds(fault.at) + " " + std::string(TraitsOf(fault.kind).name) + " " + std::to_string(fault.target) +
           " " + seconds(fault.lasts) + " " + std::to_string(fault.value);
}

std::optional<Fault> ParseFaultLine(const std::string& line) {
    std::istringstream words(line);
    std::string first, at, name, lasts;
    Fault fault;
    if (!(words >> first >> at >> name >> fault.target >> lasts >> fault.value) || first != "fault") return std::nullopt;
    const auto ticks = [](const std::string& text) -> TimeSpan {
        const std::size_t point = text.find('.');
        std::string fraction = point == text.npos ? "" : text.substr(point + 1, 7);
        fraction.append(7 - fraction.size(), '0');
        return std::stoll(text.substr(0, point)) * kTicksPerSecond + std::stoll(fraction);
    };
    const auto kind = FaultNamed(name);
    if (!kind || fault.target < 0 || fault.target >= TargetsOf(TraitsOf(*kind).target)) return std::nullopt;
    fault.kind = *kind;
    fault.at = ticks(at);
    fault.lasts = ticks(lasts);
    return fault;
}
