#pragma once
#include <windows.h>
#include <cstdint>
#include "mining/PluginLibrary.h"

enum class PluginLoadResult : std::int32_t { Ok = 0, NoAlgorithm = 24, NoInterface = 25, LoadFailed = 32 };

// The plug-in of one mining session: its library and the window it made. GUI thread.
class CPluginInstance {
  public:
    // A record without a library counts as no record.
    PluginLoadResult Load(const QvDescriptor& algorithm);

    // As the plug-in returned it; null when nothing is loaded or when the plug-in made none. Posting to null does nothing.
    HWND Window() const { return m_window; }
    bool Post(UINT message, WPARAM wParam, LPARAM lParam) const;
    // Sends 0x2404 and waits for the plug-in to end its threads. After it the plug-in touches no shared memory.
    void StopWork() const;
    // Destroys the window (unless the plug-in has) and frees the library.
    void Unload();

  private:
    CPluginLibrary m_library;
    HWND m_window = nullptr;
};
