#pragma once
#include <vector>
#include "ConfigFile.h"
#include "JsonText.h"

// A pool as the miner and the configure file know it.
template <typename Writer>
void WritePool(Writer& json, const PoolRecord& pool) {
    json.StartObject();
    WriteMember(json, "id", std::int64_t{pool.id});
    WriteMember(json, "name", pool.name);
    WriteMember(json, "server", pool.server);
    WriteMember(json, "port", std::int64_t{pool.port});
    WriteMember(json, "algo", std::int64_t{pool.algo});
    WriteMember(json, "wallet", pool.wallet);
    if (pool.password) WriteMember(json, "password", *pool.password);
    if (pool.workerOverride) WriteMember(json, "workeroverride", *pool.workerOverride);
    json.EndObject();
}

// The member "pools" of a configuration.
template <typename Writer>
void WritePools(Writer& json, const std::vector<PoolRecord>& pools) {
    json.Key("pools");
    json.StartArray();
    for (const PoolRecord& pool : pools)
        WritePool(json, pool);
    json.EndArray();
}
