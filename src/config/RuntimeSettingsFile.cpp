#include "config/RuntimeSettingsXml.h"

CRuntimeSettingsFile::CRuntimeSettingsFile(const std::wstring& settingsFolder)
    : m_file(settingsFolder + L"RuntimeSettingsMiner.xml") {}

FileLoad CRuntimeSettingsFile::Load(RuntimeSettings& settings, Patience patience) {
    FileLoad load = m_file.Load(
        [&settings](const XML_NODE& root, CLoadReport& report) { ReadRuntimeSettings(root, settings, report); }, patience);
    m_loaded = load.status != XmlStatus::Unreadable;
    return load;
}

std::wstring CRuntimeSettingsFile::Save(const RuntimeSettings& settings, Patience patience) {
    if (!m_loaded) return {};
    CBKXmlFormat document;
    WriteRuntimeSettings(settings, *document.AddRootNode(kRuntimeSettingsRoot));
    return m_file.Save(document, patience);
}
