#pragma once
#include <vector>
#include "common/AlgorithmNames.h"
#include "rig/ConfigFile.h"
#include "rig/JsonText.h"

// The miner knows algorithms by number; in a file for people they have names.
enum class AlgorithmForm { Number, Name };

template <typename Writer>
void WritePool(Writer& json, const PoolRecord& pool, AlgorithmForm form) {
    const std::string_view algorithm = AlgorithmName(pool.algo);
    json.StartObject();
    WriteMember(json, "id", std::int64_t{pool.id});
    WriteMember(json, "name", pool.name);
    WriteMember(json, "server", pool.server);
    WriteMember(json, "port", std::int64_t{pool.port});
    if (form == AlgorithmForm::Number || algorithm.empty())
        WriteMember(json, "algo", std::int64_t{pool.algo});
    else
        WriteMember(json, "algo", algorithm);
    WriteMember(json, "wallet", pool.wallet);
    if (pool.password) WriteMember(json, "password", *pool.password);
    if (pool.workerOverride) WriteMember(json, "workeroverride", *pool.workerOverride);
    json.EndObject();
}

// The member "pools" of a configuration.
template <typename Writer>
void WritePools(Writer& json, const std::vector<PoolRecord>& pools, AlgorithmForm form) {
    json.Key("pools");
    json.StartArray();
    for (const PoolRecord& pool : pools)
        WritePool(json, pool, form);
    json.EndArray();
}
