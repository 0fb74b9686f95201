#include "ethash/Plugin.h"

#include <cwchar>

#include "ethash/SessionThreads.h"

CPlugin::CPlugin(const PluginIdentity& identity) : m_identity(identity), m_caches(identity.variant) {
    m_descriptor.id = identity.id;
    std::wcsncpy(m_descriptor.name, identity.name, QV_NAME_CHARS - 1);
}

std::uintptr_t CPlugin::Interface(std::uintptr_t argument) {
    switch (argument) {
        case QV_INTERFACE_DESCRIPTOR:
            return reinterpret_cast<std::uintptr_t>(&m_descriptor);
        case QV_INTERFACE_WINDOW:
            return reinterpret_cast<std::uintptr_t>(OpenPluginSession(m_identity.logName, m_caches));
        default:
            return 0;
    }
}
