#include "rig/Commands.h"

#include "rig/CleanText.h"
#include "rig/JsonText.h"
#include "rig/PoolJson.h"

namespace {

constexpr const char* kVersion = "1.0";

// {"cmd":...,"params":{ ... and what closes it.
class CMessage {
  public:
    CMessage(const char* command, const std::string& token) : m_json(m_buffer) {
        m_json.StartObject();
        m_json.Key("cmd");
        m_json.String(command);
        m_json.Key("params");
        m_json.StartObject();
        if (!token.empty()) WriteMember(m_json, "token", token);
    }
    JsonWriter& Json() { return m_json; }
    std::string Line() {
        m_json.EndObject();
        m_json.EndObject();
        return std::string(m_buffer.GetString(), m_buffer.GetSize()) + "\n";
    }

  private:
    rapidjson::StringBuffer m_buffer;
    JsonWriter m_json;
};

}  // namespace

std::string CCommands::Connect() const {
    CMessage message("connect", m_token);
    WriteMember(message.Json(), "ver", kVersion);
    return message.Line();
}

std::string CCommands::Worker(std::string_view name) const {
    CMessage message("workername", m_token);
    WriteMember(message.Json(), "workername", name);
    return message.Line();
}

std::string CCommands::StartMining() const {
    return CMessage("start-mining", m_token).Line();
}

std::string CCommands::StopMining() const {
    return CMessage("stop-mining", m_token).Line();
}

std::string CCommands::Configuration(const ConfigFile& file, const std::vector<std::vector<std::string>>& gpus) const {
    CMessage message("configuration", m_token);
    JsonWriter& json = message.Json();
    WritePools(json, file.pools, AlgorithmForm::Number);
    json.Key("config");
    json.StartArray();
    for (std::size_t i = 0; i < file.configs.size(); ++i) {
        json.StartObject();
        WriteMember(json, "primary-poolid", std::int64_t{file.configs[i].primaryPool});
        WriteMember(json, "secondary-poolid", std::int64_t{file.configs[i].secondaryPool});
        json.Key("gpus");
        json.StartArray();
        for (const std::string& uuid : gpus.at(i))
            WriteString(json, uuid);
        json.EndArray();
        json.EndObject();
    }
    json.EndArray();
    return message.Line();
}

std::string CCommands::NonceGenerator(std::string_view uuid, std::optional<int> mode,
                                      std::optional<std::uint64_t> setting) const {
    CMessage message("NonceGeneratorSettings", m_token);
    WriteMember(message.Json(), "ID", uuid);
    if (mode) WriteMember(message.Json(), "NGM", std::int64_t{*mode});
    if (setting) {
        message.Json().Key("NGTO");
        message.Json().Uint64(*setting);
    }
    return message.Line();
}

std::string WorkerNameMistake(std::string_view name) {
    if (name.empty()) return "a worker name needs at least one character";
    if (name.size() > kMaxWorkerName) return "a worker name has at most 17 characters";
    if (!IsPlainAscii(name)) return "a worker name may hold printable ASCII characters only";
    return {};
}
