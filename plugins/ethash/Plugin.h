#pragma once
#include <cstdint>
#include "ethash/CacheStore.h"
#include "quorvel/plugin.h"

// What makes one library of the family differ from another.
struct PluginIdentity {
    std::int32_t id;
    const wchar_t* name;     // shown to the user
    const wchar_t* logName;  // begins each log line
    EthashVariant variant;
};

// A plug-in library: its one instance object, made at the first call of GetInterface.
class CPlugin {
  public:
    explicit CPlugin(const PluginIdentity& identity);

    // GetInterface; the miner's GUI thread.
    std::uintptr_t Interface(std::uintptr_t argument);

  private:
    const PluginIdentity m_identity;
    QvDescriptor m_descriptor{};
    CCacheStore m_caches;
};
