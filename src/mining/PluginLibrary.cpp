#include "mining/PluginLibrary.h"

CPluginLibrary::CPluginLibrary(const std::wstring& path) {
    // A broken file must not stop a rig with a system message box that nobody clicks.
    DWORD previousMode = 0;
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &previousMode);
    m_module.reset(LoadLibraryW(path.c_str()));
    if (m_module == nullptr) m_loadError = GetLastError();
    SetThreadErrorMode(previousMode, nullptr);
}
