#include "world/Command.h"
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include "world/Picture.h"
#include "world/Shrink.h"

namespace {

constexpr char kHelp[] = R"(usage: simulate [OPTIONS]

Runs rigs of the real program in a simulated world and checks what must always hold.

  --seed N           of the first rig, the others follow (without: a new one, printed)
  --rigs R           so many rigs (without: for --seconds of real time)
  --days D           of virtual time for each (7)
  --seconds S        of real time (600)
  --without NAME     a kind of fault that is not to happen; may be given again
  --replay FILE      only this case; may be given again
  --case FILE        where the shortest found list of a failure is written
  --picture FILE     draws the first rig's run as an SVG
  --tell             says what happens
  --no-shrinking
  --faults           lists the kinds of fault
)";

double Since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

int ListFaults() {
    for (std::size_t i = 0; i < kFaultKinds; ++i)
        std::printf("%s\n", std::string(TraitsOf(static_cast<FaultKind>(i)).name).c_str());
    return 0;
}

void PrintFailure(const RunPlan& plan, const CPromises::Failure& failure) {
    std::printf("BROKEN: %s: %s\n  seed %llu, step %llu, second %.3f\n", failure.promise.c_str(), failure.text.c_str(),
                static_cast<unsigned long long>(plan.seed), static_cast<unsigned long long>(failure.step),
                static_cast<double>(failure.at) / kTicksPerSecond);
}

void Report(const Command& command, const RunPlan& plan, const CPromises::Failure& failure) {
    PrintFailure(plan, failure);
    if (!command.shrinks) return;
    const RunPlan shortest = Shrink(plan, failure);
    const std::string text = CaseText(shortest, failure.promise + ": " + failure.text);
    std::printf("The shortest found of %zu faults has %zu:\n%s", plan.faults.size(), shortest.faults.size(), text.c_str());
    if (!command.caseFile.empty()) std::ofstream(command.caseFile) << text;
}

int Replay(const Command& command) {
    int result = 0;
    for (const std::string& path : command.replay) {
        auto plan = ReadCase(path);
        if (!plan) return 2;
        plan->tells = command.tells;
        const RunResult run = RunWorld(*plan);
        std::printf("%s: %s\n", path.c_str(), run.failure ? "broken" : "holds");
        if (!run.failure) continue;
        PrintFailure(*plan, *run.failure);
        result = 1;
    }
    return result;
}

}  // namespace

std::optional<Command> ParseCommand(int argc, char** argv) {
    Command command;
    const auto fail = [](const std::string& text) {
        std::fprintf(stderr, "%s\n%s", text.c_str(), kHelp);
        return std::nullopt;
    };
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--tell") {
            command.tells = true;
            continue;
        }
        if (option == "--no-shrinking") {
            command.shrinks = false;
            continue;
        }
        if (option == "--faults") std::exit(ListFaults());
        if (option == "--help" || i + 1 == argc) return fail(option == "--help" ? "" : option + " is not understood");
        const std::string value = argv[++i];
        if (option == "--seed") {
            command.seed = std::strtoull(value.c_str(), nullptr, 10);
        } else if (option == "--rigs") {
            command.rigs = std::strtoull(value.c_str(), nullptr, 10);
        } else if (option == "--days") {
            command.days = std::strtod(value.c_str(), nullptr);
        } else if (option == "--seconds") {
            command.seconds = std::strtod(value.c_str(), nullptr);
        } else if (option == "--replay") {
            command.replay.push_back(value);
        } else if (option == "--case") {
            command.caseFile = value;
        } else if (option == "--picture") {
            command.picture = value;
        } else if (const auto kind = FaultNamed(value); option == "--without" && kind) {
            command.without.insert(*kind);
        } else {
            return fail(option + " " + value + " is not understood");
        }
    }
    return command;
}

int Carry(const Command& command) {
    if (!command.replay.empty()) return Replay(command);
    const auto start = std::chrono::steady_clock::now();
    const std::uint64_t first = command.seed.value_or(std::random_device()());
    const auto length = static_cast<TimeSpan>(command.days * static_cast<double>(kTicksPerDay));
    std::printf("Seeds from %llu on, %.1f days each\n", static_cast<unsigned long long>(first), command.days);
    std::fflush(stdout);
    std::uint64_t rigs = 0, steps = 0, shares = 0, faults = 0;
    double mined = 0;
    for (; command.rigs != 0 ? rigs < command.rigs : Since(start) < command.seconds; ++rigs) {
        RunPlan plan{.seed = first + rigs, .length = length, .faults = {}, .wantsMinutes = false, .tells = command.tells};
        plan.faults = PlanFaults(plan.seed, length, command.without);
        plan.wantsMinutes = rigs == 0 && !command.picture.empty();
        const RunResult run = RunWorld(plan);
        steps += run.steps;
        shares += run.shares;
        faults += plan.faults.size();
        mined += static_cast<double>(run.mined) / static_cast<double>(length);
        if (plan.wantsMinutes && !DrawPicture(command.picture, plan, run)) return 2;
        if (!run.failure) continue;
        std::printf("After %.1f s: ", Since(start));
        Report(command, plan, *run.failure);
        return 1;
    }
    const double taken = Since(start);
    const double weeks = static_cast<double>(rigs) * command.days / 7;
    std::printf(
        "All promises held: %.1f rig-weeks in %.1f s (%.0f times real time), %llu steps, %llu shares, %llu faults, "
        "%.1f %% of the time mined\n",
        weeks, taken, weeks * 604800 / taken, static_cast<unsigned long long>(steps),
        static_cast<unsigned long long>(shares), static_cast<unsigned long long>(faults),
        100 * mined / static_cast<double>(rigs));
    return 0;
}
