#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rig/GpuSelector.h"

struct PoolRecord {
    std::int32_t id = 0;
    std::string name;
    std::string server;
    std::int32_t port = 0;
    std::int32_t algo = 0;
    std::string wallet;
    std::optional<std::string> password;
    std::optional<std::string> workerOverride;
};

struct ConfigRecord {
    std::int32_t primaryPool = 0;
    std::int32_t secondaryPool = 0;
    std::vector<GpuSelector> gpus;
};

// What "configure" reads and "export" writes.
struct ConfigFile {
    std::vector<PoolRecord> pools;
    std::vector<ConfigRecord> configs;
};

struct ConfigReading {
    ConfigFile file;
    std::vector<std::string> mistakes;  // each begins with its place, for example "pools[2].port: "
};

// What the sample holds where a value of one's own belongs: no file that still holds it is taken.
inline constexpr std::string_view kSampleServer = "your-pool-server";
inline constexpr std::string_view kSampleWallet = "your-wallet-address";
inline constexpr std::string_view kPasswordMask = "********";

// Checks everything that can be checked without a rig, so that nothing is sent which the miner would drop or cut.
ConfigReading ReadConfigFile(std::string_view json);

// Pretty-printed JSON that ReadConfigFile takes back; comment, when not empty, becomes the "_comment" member.
std::string ConfigFileText(const ConfigFile& file, std::string_view comment);
ConfigFile SampleConfigFile();
// The same with passwords that may be shown.
ConfigFile Masked(ConfigFile file);

// The UUIDs of each configuration on this rig; error when a GPU is missing or claimed twice.
struct ResolvedConfig {
    std::vector<std::vector<std::string>> gpus;
    std::string error;
};
ResolvedConfig ResolveConfig(const ConfigFile& file, const SystemReport& system);
