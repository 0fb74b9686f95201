#pragma once
#include <windows.h>
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
