#include "world/Shrink.h"
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

// Whether it still fails without the faults [from, to): then they are gone, and what follows the failure too.
bool Without(RunPlan& plan, const std::string& promise, std::size_t from, std::size_t to) {
    RunPlan shorter = plan;
    shorter.faults.erase(shorter.faults.begin() + static_cast<std::ptrdiff_t>(from),
                         shorter.faults.begin() + static_cast<std::ptrdiff_t>(to));
    const RunResult result = RunWorld(shorter);
    if (!result.failure || result.failure->promise != promise) return false;
    shorter.length = std::min(shorter.length, result.failure->at + kTicksPerMinute);
    std::erase_if(shorter.faults, [&](const Fault& fault) { return fault.at > result.failure->at; });
    plan = std::move(shorter);
    return true;
}

}  // namespace

// Delta debugging: ever smaller parts of the list are left out for as long as one can be.
RunPlan Shrink(RunPlan plan, const CPromises::Failure& failure, int mostRuns) {
    plan.tells = plan.wantsMinutes = false;
    plan.length = std::min(plan.length, failure.at + kTicksPerMinute);
    std::erase_if(plan.faults, [&](const Fault& fault) { return fault.at > failure.at; });
    int runs = 0;
    for (std::size_t part = std::max<std::size_t>(plan.faults.size() / 2, 1); !plan.faults.empty();) {
        bool isShorter = false;
        for (std::size_t from = 0; from < plan.faults.size() && runs < mostRuns; ++runs) {
            const std::size_t to = std::min(from + part, plan.faults.size());
            if (Without(plan, failure.promise, from, to)) {
                isShorter = true;
            } else {
                from = to;
            }
        }
        if (runs >= mostRuns || (part == 1 && !isShorter)) break;
        part = std::max<std::size_t>(part / 2, 1);
    }
    return plan;
}

std::string CaseText(const RunPlan& plan, const std::string& note) {
    std::string text = "# " + note + "\nseed " + std::to_string(plan.seed) + "\nseconds " +
                       std::to_string(plan.length / kTicksPerSecond) + "\n";
    for (const Fault& fault : plan.faults)
        text += FaultLine(fault) + "\n";
    return text;
}

std::optional<RunPlan> ReadCase(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        std::fprintf(stderr, "%s cannot be read\n", path.c_str());
        return std::nullopt;
    }
    RunPlan plan;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        std::string word;
        std::uint64_t number = 0;
        words >> word;
        if (word == "seed" && words >> number) {
            plan.seed = number;
        } else if (word == "seconds" && words >> number) {
            plan.length = static_cast<TimeSpan>(number) * kTicksPerSecond;
        } else if (const auto fault = ParseFaultLine(line)) {
            plan.faults.push_back(*fault);
        } else {
            std::fprintf(stderr, "%s: not understood: %s\n", path.c_str(), line.c_str());
            return std::nullopt;
        }
    }
    return plan;
}
