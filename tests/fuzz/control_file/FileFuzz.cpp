// A file for "configure". One that is taken survives being written and read again, and the miner gets from the command that
// is made of it exactly what the file says.
#include <cstdlib>

#include "common/CodePage.h"
#include "control/ControlCommandParser.h"
#include "rig/CleanText.h"
#include "rig/Commands.h"

namespace {

void Require(bool condition) {
    if (!condition) std::abort();
}

SystemReport TwoGpus() {
    SystemReport system;
    for (const char last : {'a', 'b'}) {
        GpuStatic gpu;
        gpu.id = std::string(31, '0') + last;
        gpu.cudaId = static_cast<std::uint64_t>(last - 'a');
        system.gpus.push_back(gpu);
    }
    return system;
}

bool IsSame(const PoolEntry& pool, const PoolRecord& record) {
    return pool.ID == static_cast<std::uint32_t>(record.id) && pool.Port == static_cast<std::uint32_t>(record.port) &&
           pool.Algo == record.algo && WideToUtf8(pool.Name) == record.name && WideToUtf8(pool.Server) == record.server &&
           WideToUtf8(pool.WalletUser) == record.wallet && WideToUtf8(pool.Password) == record.password.value_or("") &&
           WideToUtf8(pool.WorkerOverride) == record.workerOverride.value_or("");
}

void CheckCommand(const ConfigFile& file, const std::vector<std::vector<std::string>>& gpus) {
    std::string line = CCommands("secret").Configuration(file, gpus);
    Require(line.find('\n') == line.size() - 1);
    line.pop_back();
    const std::optional<ControlCommand> command = ParseCommand(line);
    Require(command && command->token == "secret");
    const auto& configuration = std::get<ConfigurationCommand>(command->body);
    Require(configuration.pools.size() == file.pools.size() && configuration.bindings.size() == file.configs.size());
    for (std::size_t i = 0; i < file.pools.size(); ++i)
        Require(IsSame(configuration.pools[i], file.pools[i]));
    for (std::size_t i = 0; i < file.configs.size(); ++i)
        Require(configuration.bindings[i].gpuIds == gpus[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ConfigReading reading = ReadConfigFile({reinterpret_cast<const char*>(data), size});
    for (const std::string& mistake : reading.mistakes)
        Require(CleanText(mistake, mistake.size()) == mistake && mistake.find(": ") != std::string::npos);
    if (!reading.mistakes.empty()) return 0;

    const std::string text = ConfigFileText(reading.file, "again");
    const ConfigReading again = ReadConfigFile(text);
    Require(again.mistakes.empty() && ConfigFileText(again.file, "again") == text);
    const ResolvedConfig resolved = ResolveConfig(reading.file, TwoGpus());
    if (resolved.error.empty()) CheckCommand(reading.file, resolved.gpus);
    return 0;
}
