#include "config/RuntimeSettingsXml.h"

CRuntimeSettingsFile::CRuntimeSettingsFile(const std::wstring& settingsFolder)
    : m_file(settingsFolder + L"RuntimeSettingsMiner.xml") {}

bool CRuntimeSettingsFile::Load(RuntimeSettings& settings) {
    CBKXmlFormat document;
    if (const XML_NODE* root = m_file.Load(document)) ReadRuntimeSettings(*root, settings);
    const XmlStatus status = document.Status();
    if (status == XmlStatus::Malformed) m_file.Keep(L".bad");
    m_loaded = status != XmlStatus::Unreadable;
    return status == XmlStatus::Ok || status == XmlStatus::Missing;
}

unsigned long CRuntimeSettingsFile::Save(const RuntimeSettings& settings) {
    if (!m_loaded) return 0;
    CBKXmlFormat document;
    WriteRuntimeSettings(settings, *document.AddRootNode(kRuntimeSettingsRoot));
    return m_file.Save(document);
}
