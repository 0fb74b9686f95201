#pragma once
#include <cstdint>
#include "kit/PluginEngine.h"

// A plug-in library: its one instance object, as long as the library is loaded.
class CPlugin {
  public:
    explicit CPlugin(PluginIdentity identity);

    // GetInterface; the miner's GUI thread.
    std::uintptr_t Interface(std::uintptr_t argument);

  private:
    const PluginIdentity m_identity;
    QvDescriptor m_descriptor{};
};
