#include "kit/Plugin.h"

#include <cwchar>
#include <utility>

#include "kit/SessionThreads.h"

CPlugin::CPlugin(PluginIdentity identity) : m_identity(std::move(identity)) {
    m_descriptor.id = m_identity.id;
    std::wcsncpy(m_descriptor.name, m_identity.name, QV_NAME_CHARS - 1);
}

std::uintptr_t CPlugin::Interface(std::uintptr_t argument) {
    switch (argument) {
        case QV_INTERFACE_DESCRIPTOR:
            return reinterpret_cast<std::uintptr_t>(&m_descriptor);
        case QV_INTERFACE_WINDOW:
            return reinterpret_cast<std::uintptr_t>(OpenPluginSession(m_identity));
        default:
            return 0;
    }
}
