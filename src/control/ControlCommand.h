#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>
#include "config/MinerConfiguration.h"

// The commands of a controller as plain values. Texts are already cut to their fields and terminated.

using WorkerNameField = std::array<wchar_t, kWorkerNameChars>;

struct ConnectCommand {
    std::optional<WorkerNameField> workerName;
};

struct WorkerNameCommand {
    WorkerNameField workerName = {};
};

// One element of "config".
struct PoolBinding {
    std::uint32_t primaryPoolId = 0;
    std::uint32_t secondaryPoolId = 0;
    std::vector<std::string> gpuIds;  // as received
};

struct ConfigurationCommand {
    std::vector<PoolEntry> pools;  // the complete ones, in order, IDs possibly repeated
    std::size_t poolElements = 0;  // of "pools", incomplete ones included
    std::vector<PoolBinding> bindings;
};

struct NonceGeneratorCommand {
    std::string gpuId;  // as received
    std::optional<std::int32_t> NGM;
    std::optional<std::uint64_t> NGTO;
};

struct MiningCommand {
    bool start = false;
};

struct ControlCommand {
    std::variant<ConnectCommand, WorkerNameCommand, ConfigurationCommand, NonceGeneratorCommand, MiningCommand> body;
    std::optional<std::string> token;  // of "params", UTF-8
};
