#include "config/ConfigurationStore.h"

#include <algorithm>
#include <iterator>

#include "common/CodePage.h"
#include "config/ConfigurationXml.h"

namespace {

constexpr wchar_t kFileName[] = L"ConfigMiner.xml";

std::wstring KeptText(const wchar_t* suffix, unsigned long error) {
    std::wstring text = error == 0 ? L"; kept as " : L"; it is not replaced before it can be kept as ";
    text.append(kFileName).append(suffix);
    if (error != 0) text.append(L" (error ").append(std::to_wstring(error)).append(L")");
    return text;
}

}  // namespace

CConfigurationStore::CConfigurationStore(std::wstring settingsFolder, const CAlgorithmList& algorithms, GpuSpan gpus,
                                         LogFunction log)
    : m_algorithms(algorithms),
      m_gpus(gpus),
      m_log(std::move(log)),
      m_unassignedPool(MakeUnassignedPool(algorithms)),
      m_file(settingsFolder.append(kFileName)),
      m_published(gpus, m_unassignedPool) {}

CConfigurationBuilder CConfigurationStore::MakeBuilder() const {
    CConfigurationBuilder builder(m_algorithms, m_gpus, m_unassignedPool);
    std::ranges::copy(Current()->DefaultWorkerName, std::begin(builder.configuration.DefaultWorkerName));
    return builder;
}

void CConfigurationStore::Load() {
    const std::lock_guard lock(m_changeLock);
    CBKXmlFormat document;
    CLoadReport report;
    CConfigurationBuilder builder = MakeBuilder();
    if (const XML_NODE* root = m_file.Load(document)) {
        ReadConfiguration(*root, builder, report);
        if (document.LostCharacters()) report.Dropped(L"characters that the system's code page lacks");
    }
    m_published.Publish(std::move(builder.configuration));
    m_loaded = document.Status() != XmlStatus::Unreadable;
    KeepAsFound(document.Status(), report);
}

void CConfigurationStore::KeepAsFound(XmlStatus status, const CLoadReport& report) {
    const auto keep = [this](const std::wstring& event, const wchar_t* suffix) {
        Log(event + KeptText(suffix, m_file.Keep(suffix)));
    };
    if (status == XmlStatus::Malformed) {
        keep(L" cannot be parsed", L".bad");
    } else if (status == XmlStatus::Unreadable) {
        keep(L" cannot be read and is not saved until another configuration arrives", L".bak");
    } else if (!report.IsEmpty()) {
        keep(L" was loaded without: " + report.Text(), L".bak");
    }
}

void CConfigurationStore::Save() {
    const std::lock_guard lock(m_changeLock);
    if (!m_loaded) return;
    CBKXmlFormat document;
    WriteConfiguration(*Current(), *document.AddRootNode(kConfigurationRoot));
    const unsigned long error = m_file.Save(document);
    if (error != 0 && error != m_lastSaveError) Log(L" could not be saved (error " + std::to_wstring(error) + L")");
    m_lastSaveError = error;
}

void CConfigurationStore::Publish(MinerConfiguration configuration) {
    const std::lock_guard lock(m_changeLock);
    m_loaded = true;
    m_published.Publish(std::move(configuration));
}

void CConfigurationStore::SetDefaultWorkerName(std::wstring_view name) {
    const std::lock_guard lock(m_changeLock);
    MinerConfiguration configuration = *Current();
    CopyToField(name, configuration.DefaultWorkerName);
    m_published.Publish(std::move(configuration));
}

void CConfigurationStore::Log(const std::wstring& event) const {
    if (m_log) m_log(kFileName + event);
}
