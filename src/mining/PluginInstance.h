#pragma once
#include <windows.h>
#include <cstdint>
#include <memory>
#include <string>
#include "quorvel/plugin.h"

// A loaded plug-in library; freed with the object. GUI thread.
class CPluginLibrary {
  public:
    CPluginLibrary() = default;
    explicit CPluginLibrary(const std::wstring& path);

    bool IsLoaded() const { return m_module != nullptr; }
    // Why it is not loaded, as a Windows error code.
    DWORD LoadError() const { return m_loadError; }
    QvGetInterface Interface() const { return Export<QvGetInterface>("GetInterface"); }
    QvGetUnit Unit() const { return Export<QvGetUnit>("GetUnit"); }
    QvGetAbiVersion AbiVersion() const { return Export<QvGetAbiVersion>("GetAbiVersion"); }

  private:
    // Null when nothing is loaded or the export is missing.
    template <typename Function>
    Function Export(const char* name) const {
        if (m_module == nullptr) return nullptr;
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(m_module.get(), name)));
    }

    struct Free {
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };
    std::unique_ptr<std::remove_pointer_t<HMODULE>, Free> m_module;
    DWORD m_loadError = ERROR_SUCCESS;
};

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
