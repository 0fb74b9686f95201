#include "rig/ConfigFile.h"

#include <rapidjson/prettywriter.h>

#include <algorithm>

#include "rig/JsonText.h"
#include "rig/PoolJson.h"

namespace {

using PrettyWriter = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

constexpr std::int32_t kEtchash = AlgorithmId("etchash").value();

void WriteConfig(PrettyWriter& json, const ConfigRecord& config) {
    json.StartObject();
    WriteMember(json, "primary-poolid", std::int64_t{config.primaryPool});
    WriteMember(json, "secondary-poolid", std::int64_t{config.secondaryPool});
    json.Key("gpus");
    json.StartArray();
    for (const GpuSelector& selector : config.gpus) {
        if (selector.kind == GpuSelector::Kind::Index)
            json.Uint64(selector.index);
        else
            WriteString(json, SelectorText(selector));
    }
    json.EndArray();
    json.EndObject();
}

}  // namespace

std::string ConfigFileText(const ConfigFile& file, std::string_view comment) {
    rapidjson::StringBuffer buffer;
    PrettyWriter json(buffer);
    json.StartObject();
    if (!comment.empty()) WriteMember(json, "_comment", comment);
    WritePools(json, file.pools, AlgorithmForm::Name);
    json.Key("config");
    json.StartArray();
    for (const ConfigRecord& config : file.configs)
        WriteConfig(json, config);
    json.EndArray();
    json.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

ConfigFile SampleConfigFile() {
    ConfigFile file;
    const std::string server(kSampleServer);
    const std::string wallet(kSampleWallet);
    file.pools.push_back({1, "Main pool", server, 4444, kEtchash, wallet, "x", std::nullopt});
    file.pools.push_back({2, "Spare pool", server, 4444, kEtchash, wallet, "x", "rig-1"});
    file.configs.push_back({1, 2, {GpuSelector{}}});
    return file;
}

ConfigFile Masked(ConfigFile file) {
    for (PoolRecord& pool : file.pools)
        if (pool.password && !pool.password->empty()) pool.password = kPasswordMask;
    return file;
}

ResolvedConfig ResolveConfig(const ConfigFile& file, const SystemReport& system) {
    ResolvedConfig resolved;
    std::vector<std::string> taken;
    for (std::size_t i = 0; i < file.configs.size(); ++i) {
        const std::string place = "config[" + std::to_string(i) + "].gpus: ";
        SelectedGpus selected = SelectGpus(file.configs[i].gpus, system);
        if (!selected.error.empty()) {
            resolved.error = place + selected.error;
            return resolved;
        }
        for (const std::string& uuid : selected.uuids) {
            if (std::find(taken.begin(), taken.end(), uuid) != taken.end()) {
                resolved.error = place;
                resolved.error.append("GPU ").append(uuid).append(" already belongs to an earlier configuration");
                return resolved;
            }
            taken.push_back(uuid);
        }
        resolved.gpus.push_back(std::move(selected.uuids));
    }
    return resolved;
}
