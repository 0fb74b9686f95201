#include "cli/CommandRunner.h"

#include <algorithm>
#include <istream>
#include <ostream>
#include <stdexcept>

#include "cli/RigJob.h"
#include "rig/Commands.h"
#include "rig/ConfigFile.h"
#include "rig/JsonText.h"
#include "rig/StateFolder.h"
#include "show/StatusJson.h"
#include "show/Tables.h"

namespace {

std::chrono::milliseconds Milliseconds(double seconds) {
    return std::chrono::milliseconds(static_cast<long>(seconds * 1000));
}

std::vector<RigResult> Run(const Options& options, const RigJob& job) {
    return RunOnRigs(options.rigs, options.token, Milliseconds(options.timeout), job);
}

int ExitCode(const std::vector<RigResult>& results) {
    const auto any = [&](RigEnd end) {
        return std::ranges::any_of(results, [&](const RigResult& result) { return result.end == end; });
    };
    if (any(RigEnd::Failed)) return kExitRigFailed;
    return any(RigEnd::Trouble) ? kExitTrouble : kExitGood;
}

int ShowStatus(const Options& options, const CommandStreams& streams) {
    RigJob job;
    job.update = WantUpdate::WhileMining;
    job.troubles = true;
    const auto results = Run(options, job);
    std::vector<RigSight> sights;
    sights.reserve(results.size());
    for (const RigResult& result : results)
        sights.push_back({result.rig.Text(), result.end == RigEnd::Failed ? result.message : std::string(),
                          result.system ? &*result.system : nullptr, result.update ? &*result.update : nullptr,
                          &result.troubles});
    streams.out << (options.json ? StatusJson(sights) : StatusTable(sights));
    return ExitCode(results);
}

std::string ErrorObject(const RigResult& result) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    json.StartObject();
    WriteMember(json, "rig", result.rig.Text());
    WriteMember(json, "error", result.message);
    json.EndObject();
    return buffer.GetString();
}

int ShowReports(const Options& options, const CommandStreams& streams) {
    const bool system = options.command == Command::System;
    RigJob job;
    job.update = system ? WantUpdate::No : WantUpdate::Yes;
    const auto results = Run(options, job);
    for (const RigResult& result : results) {
        const std::string& line = system ? result.systemLine : result.updateLine;
        const std::string rig = result.rig.Text();
        const bool good = result.end == RigEnd::Good;
        if (!good && options.json && results.size() > 1) {
            streams.out << ErrorObject(result) << '\n';
        } else if (!good) {
            streams.err << rig << ": " << result.message << '\n';
        } else if (!options.json) {
            streams.out << rig << ": " << (system ? SystemTable(*result.system) : UpdateTable(*result.update));
        } else if (results.size() == 1) {
            streams.out << line << '\n';
        } else {
            streams.out << R"({"rig":")" << rig << R"(","report":)" << line << "}\n";
        }
    }
    return ExitCode(results);
}

int Report(const std::vector<RigResult>& results, const CommandStreams& streams) {
    for (const RigResult& result : results)
        (result.end == RigEnd::Good ? streams.out : streams.err) << result.rig.Text() << ": " << result.message << '\n';
    return ExitCode(results);
}

RigPlan StartPlan(const CCommands& commands, const SystemReport& system) {
    if (system.status == MiningStatus::Mining) return {{}, {}, Confirm::None, "mines already"};
    return {{}, {commands.StartMining()}, Confirm::Mining, "mining"};
}

RigPlan StopPlan(const CCommands& commands, const SystemReport& system) {
    if (system.status == MiningStatus::Stopped) return {{}, {}, Confirm::None, "does not mine"};
    return {{}, {commands.StopMining()}, Confirm::Stopped, "stopped"};
}

RigPlan NoncePlan(const CCommands& commands, const Options& options, const SystemReport& system) {
    std::vector<GpuSelector> selectors;
    for (const std::string& gpu : options.gpus)
        selectors.push_back(ParseGpuSelector(gpu).value_or(GpuSelector{}));
    if (selectors.empty()) selectors.emplace_back();
    const SelectedGpus selected = SelectGpus(selectors, system);
    RigPlan plan{selected.error, {}, Confirm::Read, "sent for " + std::to_string(selected.uuids.size()) + " GPU(s)"};
    for (const std::string& uuid : selected.uuids)
        plan.lines.push_back(commands.NonceGenerator(uuid, options.mode, options.setting));
    return plan;
}

// The words of the commands that only send.
RigPlan PlanOf(const Options& options, const SystemReport& system) {
    const CCommands commands(options.token);
    switch (options.command) {
        case Command::Start:
            return StartPlan(commands, system);
        case Command::Stop:
            return StopPlan(commands, system);
        case Command::Worker:
            return {{}, {commands.Worker(options.worker)}, Confirm::Read, "worker name sent"};
        default:
            return NoncePlan(commands, options, system);
    }
}

int Send(const Options& options, const CommandStreams& streams) {
    RigJob job;
    if (options.command == Command::Start) job.hashWait = Milliseconds(options.wait);
    job.plan = [&](const RigAddress&, const SystemReport& system) { return PlanOf(options, system); };
    return Report(Run(options, job), streams);
}

RigPlan ConfigurePlan(const Options& options, const ConfigFile& file, const SystemReport& system) {
    const ResolvedConfig resolved = ResolveConfig(file, system);
    if (!resolved.error.empty()) return {resolved.error, {}, Confirm::None, {}};
    // What is shown holds neither passwords nor the rigs' token.
    if (options.dryRun) {
        std::string line = CCommands().Configuration(Masked(file), resolved.gpus);
        line.pop_back();
        return {{}, {}, Confirm::None, "would be sent: " + line};
    }
    const std::string done =
        std::to_string(file.pools.size()) + " pool(s) and " + std::to_string(file.configs.size()) + " configuration(s) sent";
    return {{}, {CCommands(options.token).Configuration(file, resolved.gpus)}, Confirm::Read, done};
}

void Remember(const Options& options, const ConfigFile& file, const std::vector<RigResult>& results, std::ostream& err) {
    const CStateFolder state(options.stateFolder);
    for (const RigResult& result : results) {
        if (result.end != RigEnd::Good) continue;
        try {
            state.Write(state.SentFile(result.rig), ConfigFileText(file, "Sent last to " + result.rig.Text()));
        } catch (const std::runtime_error& failure) {
            err << "note: " << failure.what() << ": \"export\" will not know what was sent\n";
            return;
        }
    }
}

int Configure(const Options& options, const CommandStreams& streams) {
    const bool isInput = options.file == "-";
    const std::string name = isInput ? "standard input" : options.file;
    const auto text = isInput ? ReadWhole(streams.in) : ReadWholeFile(std::filesystem::path(options.file));
    if (!text) {
        streams.err << "cannot read " << name << '\n';
        return kExitUsage;
    }
    const ConfigReading reading = ReadConfigFile(*text);
    for (const std::string& mistake : reading.mistakes)
        streams.err << name << ": " << mistake << '\n';
    if (!reading.mistakes.empty()) return kExitUsage;
    if (options.dryRun) streams.out << PoolTable(Masked(reading.file)) << '\n';
    RigJob job;
    job.plan = [&](const RigAddress&, const SystemReport& system) { return ConfigurePlan(options, reading.file, system); };
    const auto results = Run(options, job);
    if (!options.dryRun) Remember(options, reading.file, results, streams.err);
    return Report(results, streams);
}

// Without the passwords of what was sent. A file of an earlier version may hold what is no longer taken.
std::string ForTerminal(const std::string& text, std::ostream& err) {
    const ConfigReading reading = ReadConfigFile(text);
    err << "note: passwords are masked on a terminal, --output FILE writes them\n";
    if (reading.mistakes.empty()) return ConfigFileText(Masked(reading.file), "Passwords are masked");
    err << "what was sent last is no longer taken: " << reading.mistakes.front() << '\n';
    return {};
}

int Export(const Options& options, const CommandStreams& streams) {
    const CStateFolder state(options.stateFolder);
    const auto known = ReadWholeFile(state.SentFile(options.rigs.front()));
    const std::string text =
        known ? *known
              : ConfigFileText(SampleConfigFile(),
                               "A sample: nothing was sent to this rig from here yet. Put in your own servers and wallets. "
                               "algo: the name or the number of a plug-in, for example etchash; names that end in -cpu are "
                               "slow. gpus: \"all\", CUDA indices (0, 1, ...) or UUIDs. password and workeroverride may be "
                               "left out. Members whose names begin with _ are comments.");
    if (options.file.empty()) {
        streams.out << (known && streams.terminal ? ForTerminal(text, streams.err) : text);
        return kExitGood;
    }
    try {
        WritePrivateFile(options.file, text, options.force);
        return kExitGood;
    } catch (const std::runtime_error& failure) {
        const bool mayForce = !options.force && std::filesystem::exists(options.file);
        streams.err << failure.what() << (mayForce ? " (--force replaces it)" : "") << '\n';
        return kExitRigFailed;
    }
}

}  // namespace

int RunCommand(const Options& options, const CommandStreams& streams) {
    switch (options.command) {
        case Command::Status:
            return ShowStatus(options, streams);
        case Command::System:
        case Command::Update:
            return ShowReports(options, streams);
        case Command::Configure:
            return Configure(options, streams);
        case Command::Export:
            return Export(options, streams);
        default:
            return Send(options, streams);
    }
}
