#pragma once
#include <cstdint>
#include "ethash/CacheStore.h"
#include "ethash/PluginIdentity.h"
#include "quorvel/plugin.h"

// A plug-in library: its one instance object, made at the first call of GetInterface.
class CPlugin {
  public:
    explicit CPlugin(PluginIdentity identity);

    // GetInterface; the miner's GUI thread.
    std::uintptr_t Interface(std::uintptr_t argument);

  private:
    const PluginIdentity m_identity;
    QvDescriptor m_descriptor{};
    CCacheStore m_caches;
};
