#pragma once
#include <atomic>
#include <string>
#include "app/StandingTrouble.h"
#include "config/ConfigurationStore.h"
#include "config/RuntimeSettings.h"
#include "dialogs/MainDialogHost.h"

// Loads and saves what belongs to the user, the settings and the configuration, tries again what failed and says so. GUI
// thread, but where another is named. Nothing but SaveAtExit waits for whoever has a file open.
class CUserFiles {
  public:
    CUserFiles(RuntimeSettings& settings, CRuntimeSettingsFile& settingsFile, CConfigurationStore& configuration,
               CStandingTrouble& trouble);

    // At start-up. settingsLoad: how it went with the settings, which were read before anything else; note: what else is to
    // be said of the files, once.
    void Load(const FileLoad& settingsLoad, const std::wstring& note);

    void SaveSettings();
    // Any thread. A failure is trouble when it comes a second time in a row, a second later.
    void SaveConfiguration();
    // A configuration was published that takes the place of the one in the file. Any thread.
    void Superseded();
    // On the channel's thread, for a controller: tries for some tenths of a second, and a failure is trouble, and told
    // again, at once.
    void SaveForController();
    // Saves and publishes. Why not, for the user.
    std::wstring Replace(MinerConfiguration configuration);
    // Every second: what failed, once more.
    LateFiles Retry();
    // What still fails is an event.
    void SaveAtExit(IEventSink& events);

    // What was not understood when the files were read, and where the copies are; empty: nothing.
    const std::wstring& LoadMessage() const { return m_loadMessage; }

  private:
    using Source = CStandingTrouble::Source;
    void Told(std::atomic<int>& failures, Source source, const std::wstring& reason, int patience);

    RuntimeSettings& m_settings;
    CRuntimeSettingsFile& m_settingsFile;
    CConfigurationStore& m_configuration;
    CStandingTrouble& m_trouble;
    std::wstring m_loadMessage;
    bool m_settingsWait = false;                     // the file cannot be read yet
    std::atomic<bool> m_configurationWaits = false;  // likewise, and no other configuration has come meanwhile
    std::atomic<int> m_settingsFailures = 0;         // saves in a row
    std::atomic<int> m_configurationFailures = 0;
};
