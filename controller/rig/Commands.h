#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rig/ConfigFile.h"

inline constexpr std::size_t kMaxWorkerName = 17;

// Makes the one-line commands of the miner's control channel, line feed included, each with the shared secret when there is
// one.
class CCommands {
  public:
    explicit CCommands(std::string token = {}) : m_token(std::move(token)) {}

    std::string Connect() const;
    std::string Worker(std::string_view name) const;
    std::string StartMining() const;
    std::string StopMining() const;
    // One list of GPU UUIDs per configuration of the file, in its order.
    std::string Configuration(const ConfigFile& file, const std::vector<std::vector<std::string>>& gpus) const;
    std::string NonceGenerator(std::string_view uuid, std::optional<int> mode, std::optional<std::uint64_t> setting) const;

  private:
    std::string m_token;
};

// Empty: fine. Otherwise what is wrong with the name.
std::string WorkerNameMistake(std::string_view name);
