#pragma once
#include <cstdint>
#include "ethash/Ethash.h"
#include "ethash/HashWorker.h"

// What makes one library of the family differ from another.
struct PluginIdentity {
    std::int32_t id;
    const wchar_t* name;     // shown to the user
    const wchar_t* logName;  // begins each log line
    EthashVariant variant;
    HashingKind hashing;
};
