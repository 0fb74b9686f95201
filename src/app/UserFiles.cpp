#include "app/UserFiles.h"

#include <windows.h>

namespace {

constexpr int kFailuresUntilTrouble = 2;
constexpr int kTriesForController = 4;
constexpr DWORD kControllerPauseMs = 100;

}  // namespace

CUserFiles::CUserFiles(RuntimeSettings& settings, CRuntimeSettingsFile& settingsFile, CConfigurationStore& configuration,
                       CStandingTrouble& trouble)
    : m_settings(settings), m_settingsFile(settingsFile), m_configuration(configuration), m_trouble(trouble) {}

void CUserFiles::Load(const FileLoad& settingsLoad, const std::wstring& note) {
    const FileLoad configurationLoad = m_configuration.Load();
    m_settingsWait = settingsLoad.status == XmlStatus::Unreadable;
    m_configurationWaits = configurationLoad.status == XmlStatus::Unreadable;
    m_trouble.Set(Source::SettingsText, settingsLoad.message);
    m_trouble.Set(Source::ConfigurationText, configurationLoad.message);
    for (const std::wstring* message : {&note, &settingsLoad.message, &configurationLoad.message}) {
        if (message->empty()) continue;
        m_loadMessage.append(m_loadMessage.empty() ? L"" : L"\n\n").append(*message);
    }
}

void CUserFiles::Told(std::atomic<int>& failures, Source source, const std::wstring& reason, int patience) {
    if (reason.empty()) {
        failures = 0;
        m_trouble.Set(source, {});
    } else if (++failures >= patience) {
        m_trouble.Set(source, reason + L"; trying again");
    }
}

void CUserFiles::SaveSettings() {
    Told(m_settingsFailures, Source::SettingsSave, m_settingsFile.Save(m_settings), kFailuresUntilTrouble);
}

void CUserFiles::SaveConfiguration() {
    Told(m_configurationFailures, Source::ConfigurationSave, m_configuration.Save(), kFailuresUntilTrouble);
}

void CUserFiles::SaveForController() {
    std::wstring reason = m_configuration.Save();
    for (int tries = 1; tries < kTriesForController && !reason.empty(); ++tries) {
        Sleep(kControllerPauseMs);
        reason = m_configuration.Save();
    }
    const bool wasTold = m_configurationFailures >= kFailuresUntilTrouble;
    Told(m_configurationFailures, Source::ConfigurationSave, reason, 1);
    if (!reason.empty() && wasTold) m_trouble.Repeat(Source::ConfigurationSave);
}

std::wstring CUserFiles::Replace(MinerConfiguration configuration) {
    std::wstring reason = m_configuration.Replace(std::move(configuration));
    if (!reason.empty()) return reason;
    Superseded();
    Told(m_configurationFailures, Source::ConfigurationSave, {}, 1);
    return {};
}

void CUserFiles::Superseded() {
    m_configurationWaits = false;
    m_trouble.Set(Source::ConfigurationText, {});
}

LateFiles CUserFiles::Retry() {
    LateFiles late;
    if (m_settingsWait) {
        const FileLoad load = m_settingsFile.Load(m_settings, Patience::None);
        m_settingsWait = load.status == XmlStatus::Unreadable;
        late.settings = !m_settingsWait;
        if (late.settings) m_trouble.Set(Source::SettingsText, load.message);
    }
    if (m_configurationWaits) {
        const FileLoad load = m_configuration.RetryLoad();
        m_configurationWaits = load.status == XmlStatus::Unreadable;
        late.configuration = !m_configurationWaits;
        if (late.configuration) m_trouble.Set(Source::ConfigurationText, load.message);
    }
    if (m_settingsFailures != 0) SaveSettings();
    if (m_configurationFailures != 0) SaveConfiguration();
    return late;
}

void CUserFiles::SaveAtExit(IEventSink& events) {
    for (const std::wstring& reason :
         {m_configuration.Save(Patience::OneSecond), m_settingsFile.Save(m_settings, Patience::OneSecond)}) {
        if (!reason.empty()) events.Event(EventKind::Configuration, L"", reason + L"; the program ends");
    }
}
