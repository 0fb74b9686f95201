#pragma once
#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include "app/ApplicationFolders.h"
#include "app/ControlHost.h"
#include "app/StandingTrouble.h"
#include "app/UserFiles.h"
#include "config/AlgorithmList.h"
#include "config/ConfigurationStore.h"
#include "config/RuntimeSettings.h"
#include "control/SocketMiner.h"
#include "gpu/CudaRuntime.h"
#include "gpu/ManagerMinerGpus.h"
#include "gpu/Nvml.h"
#include "gpu/TelemetryReader.h"
#include "mining/FeePools.h"
#include "mining/Mining.h"
#include "pool/StratumHost.h"
#include "support/DataFolder.h"
#include "support/EventLog.h"
#include "support/LineBudget.h"
#include "support/LogSystem.h"
#include "support/OldLogs.h"
#include "support/RecentLines.h"
#include "toolkit/WinApp.h"

// The composition root: owns everything that lives as long as the process and runs start-up and shutdown on the GUI thread.
class CQuorvelMinerApp final : public CWinApp, private IStratumHost {
  public:
    // guarded: nobody can answer a message box, so what keeps the program from starting goes to the event log alone, and Run
    // returns a code of common/Guarded.h. resume: mining and listening are taken up again if they ran last.
    CQuorvelMinerApp(DataFolder data, bool guarded, bool resume);
    ~CQuorvelMinerApp() override;

    // False in every case: the main window has been and gone when it returns.
    bool InitInstance() override;
    // Saves the configuration and the settings, if this is the instance that owns the mutex.
    int ExitInstance() override;

    // One line in the main log. Any thread.
    void LogMain(const wchar_t* text);
    // The same for a plug-in's line, which is also kept for the diagnostics.
    void LogPlugIn(const wchar_t* text);

  private:
    bool ClaimSingleInstance();
    // The main log; old ones of all kinds are removed meanwhile.
    void OpenLogs();
    bool DiscoverGpus();
    void LoadConfiguration(const FileLoad& settingsLoad);
    // Trouble of pools that no plug-in can mine on; while mining runs it is the sessions' own. Any thread.
    void CheckPlugIns();
    void TellStart();
    // What is unusual about a card that was found; mostly empty.
    std::wstring StartNote(const QvGpuRecord& gpu) const;
    void NothingToMine();
    void MiningStarts();
    // One line in the main log about what a pool said: whole, on one line, and no flood.
    void LogPoolError(const PoolError& error);
    void RunProgram();
    bool RunDialog();
    // The telemetry reader's thread, or the GUI's.
    void SensorsChanged(const QvGpuRecord& gpu, SensorState state);

    // IStratumHost; sessions' I/O threads.
    CMiningStatistics* FindStatistics(std::int32_t cudaId) override;
    void PoolErrorHappened(const PoolError& error) override;
    void RequestStopMining(const std::string& reason) override;
    std::wstring DefaultWorkerName() override;
    ProxyAddress Proxy() override { return ParseProxyAddress(m_settings.Proxy); }

    const DataFolder m_data;
    const bool m_guarded;
    const bool m_resume;
    int m_exitCode = 0;
    std::wstring m_hostName;
    HANDLE m_instanceMutex = nullptr;  // null: another instance runs, start-up went no further
    ApplicationFolders m_folders;
    RuntimeSettings m_settings;
    std::unique_ptr<CRuntimeSettingsFile> m_settingsFile;
    CEventLog m_events;
    CBKLogSystem m_mainLog;
    std::wstring m_eventLogFile;
    std::optional<COldLogs> m_oldLogs;
    CTroubleBoard m_troubles;
    CStandingTrouble m_standingTrouble;
    std::map<std::int32_t, PoolError> m_sensorTroubles;  // by CUDA id; used under the telemetry reader's lock
    CPlugInMessages m_plugInMessages;
    CLineBudget m_poolErrorLines;
    CLineBudget m_nothingToMineLines{1, kTicksPerMinute};
    CRecentLines m_plugInLines{30};
    CAlgorithmList m_algorithms;
    std::unique_ptr<CCudaRuntime> m_cuda;
    std::shared_ptr<CNvml> m_nvml;
    PoolPointer m_discoveryPool;  // what GPU records name until the configuration store names its own
    std::unique_ptr<CManagerMinerGpus> m_gpus;
    std::unique_ptr<CTelemetryReader> m_telemetry;
    std::unique_ptr<CConfigurationStore> m_configuration;
    std::unique_ptr<CUserFiles> m_files;
    std::unique_ptr<MiningContext> m_miningContext;
    std::unique_ptr<CMining> m_mining;
    CFeePoolIds m_feePoolIds;
    std::atomic<HWND> m_mainWindow = nullptr;
    std::unique_ptr<CControlHost> m_controlHost;
    std::unique_ptr<CSocketMiner> m_control;
};

// The process's application object, for entry points that get no context; null before wWinMain has made it and after.
CQuorvelMinerApp* TheApplication();
