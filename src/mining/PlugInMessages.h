#pragma once
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include "mining/SessionState.h"

// What the plug-ins said last about each GPU. A plug-in names a GPU in its line as "GPU <CUDA id>: "; a line that names none
// concerns all of them. Any thread.
class CPlugInMessages {
  public:
    // time: ticks of IClock::Monotonic.
    void Add(std::wstring_view line, TimeSpan time);
    // The last message about the GPU when it says that it does not hash; else the later of that and the last one about all.
    std::optional<PlugInMessage> Latest(std::int32_t cudaId) const;
    // Mining begins: what was said before is of no interest.
    void Clear();

  private:
    static constexpr std::int32_t kAll = -1;

    mutable std::mutex m_lock;
    std::map<std::int32_t, PlugInMessage> m_latest;
};
