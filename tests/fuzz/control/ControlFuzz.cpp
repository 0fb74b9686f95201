// Lines of a controller, one after another, each applied to what the last one left. The first byte says whether a token is
// wanted. What is in force is whole after every line, and only a line that counts as done changes anything.
#include <cstdlib>
#include <iterator>
#include "../../unit/control/RecordingHost.h"
#include "control/ControlCommands.h"
#include "control/ControlSecurity.h"
#include "control/StatusReports.h"

namespace {

void Require(bool condition) {
    if (!condition) std::abort();
}

template <std::size_t Size>
void RequireTerminated(const wchar_t (&field)[Size]) {
    Require(std::find(std::begin(field), std::end(field), L'\0') != std::end(field));
}

void CheckConfiguration(const MinerConfiguration& configuration) {
    const auto isKnown = [&](const PoolPointer& pool) {
        return std::ranges::find(configuration.pools, pool) != configuration.pools.end();
    };
    RequireTerminated(configuration.DefaultWorkerName);
    for (const PoolPointer& pool : configuration.pools) {
        RequireTerminated(pool->Name);
        RequireTerminated(pool->Server);
        RequireTerminated(pool->WalletUser);
        RequireTerminated(pool->Password);
        RequireTerminated(pool->WorkerOverride);
        Require(pool->algorithm != nullptr);
    }
    for (const ConfigurationEntry& entry : configuration.configurations)
        Require(isKnown(entry.primaryPool) && isKnown(entry.secondaryPool) && !entry.gpus.empty());
}

void CheckLine(CRecordingHost& host, CControlCommands& commands, std::string_view line) {
    const ConfigurationPointer before = host.Current();
    const CommandResult result = commands.Execute(line);
    const bool isDone = result == CommandResult::Done || result == CommandResult::SystemWanted;
    const std::vector<std::string> events = host.Take();
    Require(result == CommandResult::Ignored || !HttpRequestOf(line));  // no controller is taken for a browser
    Require(isDone || (events.empty() && host.Current() == before));
    Require(events.size() <= 1);
    const bool isReplaced = host.Current() != before;
    Require(isReplaced == (!events.empty() && events[0] == "configuration"));
    CheckConfiguration(*host.Current());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    CRecordingHost host;
    CControlCommands commands(host, data[0] == 't' ? "secret" : "");
    std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        CheckLine(host, commands, line);
    }
    return 0;
}
