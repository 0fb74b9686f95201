#include "mining/PluginInstance.h"

CPluginLibrary::CPluginLibrary(const std::wstring& path) {
    // A broken file must not stop a rig with a system message box that nobody clicks.
    DWORD previousMode = 0;
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &previousMode);
    m_module.reset(LoadLibraryW(path.c_str()));
    if (m_module == nullptr) m_loadError = GetLastError();
    SetThreadErrorMode(previousMode, nullptr);
}

PluginLoadResult CPluginInstance::Load(const QvDescriptor& algorithm) {
    if (algorithm.libraryPath[0] == L'\0') return PluginLoadResult::NoAlgorithm;
    m_library = CPluginLibrary(algorithm.libraryPath);
    if (!m_library.IsLoaded()) return PluginLoadResult::LoadFailed;
    const QvGetInterface getInterface = m_library.Interface();
    if (getInterface == nullptr) {
        m_library = {};
        return PluginLoadResult::NoInterface;
    }
    m_window = reinterpret_cast<HWND>(getInterface(QV_INTERFACE_WINDOW));
    return PluginLoadResult::Ok;
}

bool CPluginInstance::Post(UINT message, WPARAM wParam, LPARAM lParam) const {
    return m_window != nullptr && PostMessageW(m_window, message, wParam, lParam) != FALSE;
}

void CPluginInstance::StopWork() const {
    if (m_window != nullptr) SendMessageW(m_window, QV_MSG_STOP, 0, 0);
}

void CPluginInstance::Unload() {
    if (m_window != nullptr) DestroyWindow(m_window);
    m_window = nullptr;
    m_library = {};
}
