#include "config/ConfigurationStore.h"

#include <algorithm>
#include <iterator>

#include "common/CodePage.h"
#include "config/ConfigurationXml.h"

namespace {

constexpr wchar_t kFileName[] = L"ConfigMiner.xml";

}  // namespace

CConfigurationStore::CConfigurationStore(const std::wstring& settingsFolder, const CAlgorithmList& algorithms, GpuSpan gpus)
    : m_algorithms(algorithms),
      m_gpus(gpus),
      m_unassignedPool(MakeUnassignedPool(algorithms)),
      m_file(settingsFolder + kFileName),
      m_published(gpus, m_unassignedPool) {}

CConfigurationBuilder CConfigurationStore::MakeBuilder() const {
    CConfigurationBuilder builder(m_algorithms, m_gpus, m_unassignedPool);
    std::ranges::copy(Current()->DefaultWorkerName, std::begin(builder.configuration.DefaultWorkerName));
    return builder;
}

FileLoad CConfigurationStore::Load(Patience patience) {
    const std::lock_guard lock(m_changeLock);
    return LoadLocked(patience);
}

FileLoad CConfigurationStore::RetryLoad() {
    const std::lock_guard lock(m_changeLock);
    return m_loaded ? FileLoad{XmlStatus::Ok, {}} : LoadLocked(Patience::None);
}

FileLoad CConfigurationStore::LoadLocked(Patience patience) {
    CConfigurationBuilder builder = MakeBuilder();
    FileLoad load = m_file.Load(
        [&builder](const XML_NODE& root, CLoadReport& report) { ReadConfiguration(root, builder, report); }, patience);
    m_loaded = load.status != XmlStatus::Unreadable;
    if (m_loaded) m_published.Publish(std::move(builder.configuration));
    return load;
}

std::wstring CConfigurationStore::Save(Patience patience) {
    const std::lock_guard lock(m_changeLock);
    return m_loaded ? Write(*Current(), patience) : std::wstring();
}

std::wstring CConfigurationStore::Write(const MinerConfiguration& configuration, Patience patience) {
    CBKXmlFormat document;
    WriteConfiguration(configuration, *document.AddRootNode(kConfigurationRoot));
    return m_file.Save(document, patience);
}

void CConfigurationStore::Publish(MinerConfiguration configuration) {
    const std::lock_guard lock(m_changeLock);
    m_loaded = true;
    m_published.Publish(std::move(configuration));
}

std::wstring CConfigurationStore::Replace(MinerConfiguration configuration) {
    const std::lock_guard lock(m_changeLock);
    if (std::wstring reason = Write(configuration, Patience::None); !reason.empty()) return reason;
    m_loaded = true;
    m_published.Publish(std::move(configuration));
    return {};
}

void CConfigurationStore::SetDefaultWorkerName(std::wstring_view name) {
    const std::lock_guard lock(m_changeLock);
    MinerConfiguration configuration = *Current();
    CopyToField(name, configuration.DefaultWorkerName);
    m_published.Publish(std::move(configuration));
}
